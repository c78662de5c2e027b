#pragma once

#include <fdn/Path.h>
#include <fdn/String.h>

#include <string>

namespace dmnctl {

/// A text file of the system's configuration that dmnctl writes. Its first line says so and holds a checksum
/// of the rest. A file without it, or one that somebody has changed since, is another's: it is never replaced
/// or removed.
class OwnFile {
public:
    /// The file of this name in the folder. Throws CError for a name that leads elsewhere.
    OwnFile(char const* folder, fdn::String const& name);

    enum class State {
        Missing,
        Own,
        Foreign, ///< also anything that is no regular file
    };

    fdn::Path const& getPath() const { return m_path; }

    /// Throws CError when the file cannot be looked at or read.
    State getState() const;

    /// Whether it is dmnctl's, with exactly this text.
    bool holds(std::string const& text) const;

    /// Makes or replaces the file, and the folder that it is in. Readers see the old file or the new one.
    /// Throws CError when it is not dmnctl's, and when it cannot be written; the old one is left then.
    void write(std::string const& text) const;

    /// Removes it. Throws CError when it is not dmnctl's.
    void remove() const;

private:
    void requireNotForeign() const;

    fdn::Path m_path;
};

} // namespace dmnctl
