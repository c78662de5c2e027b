#pragma once

namespace dmn {

/// Tells the children that this process gets from those that it has when the object is made. A daemon is
/// never older than its launch. Which of the later ones it has adopted and which another of its threads has
/// started cannot be told.
class LaterChildren {
public:
    LaterChildren();

    /// Whether a later child lives. Where /proc does not show this process's children, each counts, even one
    /// that has ended.
    bool anyLives() const;

private:
    unsigned long long m_since; ///< in clock ticks since the machine was booted
};

} // namespace dmn
