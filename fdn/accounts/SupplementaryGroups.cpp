#include <fdn/accounts/SupplementaryGroups.h>

#include <grp.h>

namespace fdn {

namespace {

constexpr int kFirstGroupCount = 32;

} // namespace

std::vector<gid_t> findSupplementaryGroups(UserRecord const& record) {
    int count = kFirstGroupCount;
    std::vector<gid_t> groups(kFirstGroupCount);
    // The room is doubled, because the size that a failed call reports may be outdated by the next one.
    while (getgrouplist(record.name.c_str(), record.group, groups.data(), &count) == -1) {
        groups.resize(groups.size() * 2);
        count = static_cast<int>(groups.size());
    }
    groups.resize(static_cast<std::size_t>(count));
    return groups;
}

} // namespace fdn
