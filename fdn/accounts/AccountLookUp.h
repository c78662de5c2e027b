#pragma once

#include <fdn/sysError.h>

#include <cerrno>
#include <vector>

namespace fdn {

/// getpwnam_r or getgrnam_r (POSIX), which differ in the record alone.
template <class Record>
using AccountFunction = int(char const* name, Record* record, char* texts, std::size_t textsSize,
                            Record** result);

/// Looks an account up with as much room for its texts as it wants. The texts of the record are in `texts`.
/// Returns null when there is no such account; throws the failed call as it is described when the database
/// cannot be read.
template <class Record>
Record* lookUpAccount(AccountFunction<Record>* function, char const* name, Record& record,
                      std::vector<char>& texts, CProps const& call) {
    constexpr std::size_t firstSize = 1024;
    Record* result = nullptr;
    int error = ERANGE;
    while (error == ERANGE || error == EINTR) {
        texts.resize(texts.empty() ? firstSize : texts.size() * 2);
        error = function(name, &record, texts.data(), texts.size(), &result);
    }
    // Where a database is missing altogether, its look-up says ENOENT or ESRCH.
    if (error != 0 && error != ENOENT && error != ESRCH)
        throwSysError(error, call);
    return result;
}

} // namespace fdn
