#pragma once

#include <string>

namespace dmnctl {

enum class Colour {
    Red,
    Yellow,
    Green,
    Grey,
};

/// What standard output is, found out once: whether colours may be used (on a terminal, and without NO_COLOR
/// or TERM=dumb), and how wide it is.
class Terminal {
public:
    Terminal();

    /// One that is so wide (0: no terminal), whatever standard output is.
    Terminal(int width, bool hasColours) : m_width(width), m_hasColours(hasColours) {}

    /// The columns, or 0 if standard output is no terminal: nothing need be cut then.
    int getWidth() const { return m_width; }

    /// The text in the colour, or as it is where there are none.
    std::string paint(std::string const& text, Colour colour) const;

private:
    int m_width = 0;
    bool m_hasColours = false;
};

} // namespace dmnctl
