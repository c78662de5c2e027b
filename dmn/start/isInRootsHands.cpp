#include <dmn/start/isInRootsHands.h>

#include <cerrno>
#include <filesystem>
#include <list>
#include <string>
#include <system_error>

#include <sys/stat.h>

namespace dmn {

namespace {

using std::filesystem::path;

constexpr int kMostSteps = 10000; // links may lead in a circle

bool mayOthersWrite(struct stat const& folder) {
    return (folder.st_mode & S_IWOTH) != 0 || ((folder.st_mode & S_IWGRP) != 0 && folder.st_gid != 0);
}

// In a folder with the sticky bit, others may add something, but exchange nothing of root's.
bool mayOthersExchange(struct stat const& folder) {
    return mayOthersWrite(folder) && (folder.st_mode & S_ISVTX) == 0;
}

/// Goes along a path as the kernel does.
class Walk {
public:
    explicit Walk(path const& way) { lead(way); }

    bool staysInRootsHands() {
        for (int step = 0; step < kMostSteps; ++step) {
            if (m_rest.empty())
                return true;
            struct stat folder = {};
            struct stat entry = {};
            path const next = m_place / m_rest.front();
            if (stat(m_place.c_str(), &folder) != 0)
                return false;
            if (lstat(next.c_str(), &entry) != 0)
                return errno == ENOENT && !mayOthersWrite(folder);
            if (entry.st_uid != 0 || mayOthersExchange(folder))
                return false;
            m_rest.pop_front();
            enter(next, entry);
        }
        return false;
    }

private:
    void enter(path const& next, struct stat const& entry) {
        if (!S_ISLNK(entry.st_mode)) {
            m_place = next;
            return;
        }
        std::error_code error;
        lead(read_symlink(next, error));
    }

    void lead(path const& way) {
        if (way.is_absolute())
            m_place = "/";
        path const relative = way.relative_path();
        std::list<path> names(relative.begin(), relative.end());
        names.remove(path()); // after a separator at the end
        m_rest.splice(m_rest.begin(), names);
    }

    path m_place;
    std::list<path> m_rest;
};

} // namespace

bool isInRootsHands(fdn::Path const& path) {
    return Walk(fdn::toFileName(path).data()).staysInRootsHands();
}

} // namespace dmn
