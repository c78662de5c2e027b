"""Why a target is not reached, where the rules that the library keeps are the reason."""

REASONS = {}


def find_reason(row):
    for key in ((row.what, row.other_name), row.what):
        if key in REASONS:
            return REASONS[key]
    return "not explained yet."
