"""How ours compares with what is measured beside it."""

from figures import divide


class Comparison:
    """Ours beside a peer or a floor. Without a target, it is there to be looked at."""

    def __init__(self, section, what, ours, other_name, other, target=None):
        self.section = section
        self.what = what
        self.ours = ours
        self.other_name = other_name
        self.other = other
        self.target = target
        self.ratio = divide(ours, other)

    def reached(self):
        """Whether the target is reached; None if there is none."""
        return self.target.is_reached(self) if self.target else None

    def as_dict(self):
        return {"section": self.section,
                "what": self.what,
                "ours": self.ours.as_dict(),
                "beside": self.other_name,
                "theirs": self.other.as_dict(),
                "ratio": self.ratio.as_dict() if self.ratio else None,
                "target": self.target.describe() if self.target else "",
                "reached": self.reached(),
                "reason": self.target.reason if self.target else ""}
