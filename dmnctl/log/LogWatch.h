#pragma once

#include <dmnctl/log/Descriptor.h>

#include <fdn/Path.h>

#include <string>
#include <vector>

namespace dmnctl {

/// Waits until files change (inotify(7)), also those that do not exist yet, whose folder need not exist
/// either. Where the system refuses to tell, it waits for a second.
class LogWatch {
public:
    explicit LogWatch(std::vector<fdn::Path> const& files);

    /// Asks the system to tell of what happens from now on. Look at the files after that, and then wait.
    void renew();

    /// Waits until something has happened to one of the files, or may have. Returns false when nobody reads
    /// standard output any more.
    bool wait() const;

    /// Why the system refuses, for people; empty if it does not.
    std::string const& getRefusal() const { return m_refusal; }

private:
    void watch(fdn::Path const& folder);
    fdn::Path watchNearest(fdn::Path const& wanted);
    void refuse(int error);

    Descriptor m_inotify;
    std::vector<fdn::Path> m_folders;
    std::string m_refusal;
};

} // namespace dmnctl
