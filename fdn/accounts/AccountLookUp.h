#pragma once

#include <fdn/String.h>
#include <fdn/sysError.h>

#include <cerrno>
#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace fdn {

/// An entry of the user or the group database: a passwd or a group (POSIX pwd.h, grp.h), which points into
/// the texts beside it. A moved entry keeps its texts where they are; a copy would point into those of the
/// original.
template <class Record>
struct Account {
    Account() = default;
    Account(Account&&) noexcept = default;

    Record record = {};
    std::vector<char> texts;
};

/// getpwnam_r, getgrnam_r or getpwuid_r (POSIX): the key is a name or a number.
template <class Record, class Key>
using AccountFunction = int(Key key, Record* record, char* texts, std::size_t textsSize, Record** result);

/// The name in the encoding of the databases, the locale's. Empty, which is no account's name, when it holds
/// the character NUL or the encoding lacks a character of it.
std::string toAccountName(String const& name);

/// Looks the account up; blocks as long as the database does. Returns nothing when there is no such account.
/// Throws CError with the properties `call` when the database cannot be read.
template <class Record, class Key>
std::optional<Account<Record>> findAccount(AccountFunction<Record, Key>* function, Key key,
                                           CProps const& call) {
    Account<Record> account;
    Record* result = nullptr;
    int error = ERANGE;
    // ERANGE: the room was too small for the texts. How much they need is not known in advance.
    for (std::size_t size = 1024; error == ERANGE || error == EINTR; size *= 2) {
        account.texts.resize(size);
        error = function(key, &account.record, account.texts.data(), size, &result);
    }
    // A missing database says ENOENT or ESRCH.
    if (error != 0 && error != ENOENT && error != ESRCH)
        throwSysError(error, call);
    return result == nullptr ? std::nullopt : std::optional(std::move(account));
}

/// The same by the account's name.
template <class Record>
std::optional<Account<Record>> findAccount(AccountFunction<Record, char const*>* function, String const& name,
                                           CProps const& call) {
    std::string const accountName = toAccountName(name);
    return accountName.empty() ? std::nullopt : findAccount(function, accountName.c_str(), call);
}

} // namespace fdn
