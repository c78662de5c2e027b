#pragma once

#include <fdn/CBase.h>
#include <fdn/CProps.h>
#include <fdn/P.h>
#include <fdn/String.h>

#include <exception>
#include <string>

namespace fdn {

// Exported from here on: clang takes a template's visibility from its first declaration.
template <class Traits>
class FDN_EXPORT TPathImpl;
class FDN_EXPORT CUnixPathTraits;

/// The exception in which every failure of the library travels.
///
/// It carries a message for people, a second text, a code (-1, or the number of the system error), properties
/// for programs, and possibly the error that caused it. Thrown by value; it can also outlive its handler as a
/// P<CError>, on another thread too:
///
///     catch (CError const& error) { m_failure = error.clone(); }
///     ...
///     m_failure->throwClone();
///
/// An error does not change once it is made, so that any thread may read it. A derived class overrides
/// clone() and throwClone(), without which copies lose its class.
class FDN_EXPORT CError : public std::exception, public CBase {
public:
    /// An error with a message alone: no second text, code -1, no properties, no cause.
    explicit CError(String const& message);

    /// An error with all its parts. A non-null cause is shared, not copied: this error adds a reference to it
    /// and drops that when it is destroyed. The cause must therefore live on the heap, as what clone()
    /// returns does.
    CError(String const& message, String const& second, long long code, CProps const& props,
           CError const* cause);

    /// A copy that shares the cause.
    CError(CError const& other);

    CError& operator=(CError const&) = delete;
    ~CError() override;

    /// The message in the locale's encoding, or in UTF-8 where the locale cannot represent it. The text
    /// belongs to the error and stays the same. Never null: where the message cannot be represented at all,
    /// another text says so.
    char const* what() const noexcept override;

    /// What went wrong, for people.
    String const& getMessage() const { return m_message; }

    /// What the error was about, for programs; empty unless the system failed. See CProps for the names.
    CProps const& getProps() const { return m_props; }

    /// A second text for people; the errors of the library have none.
    String const& getSecondText() const { return m_second; }

    /// The number of the system error, or -1 for every other error.
    long long getCode() const { return m_code; }

    /// The error that led to this one, with a reference added; an empty pointer when there is none.
    P<CError> getCause() const { return m_cause; }

    /// A copy on the heap with the same dynamic class. It shares the cause.
    virtual P<CError> clone() const;

    /// Throws a copy by value with the same dynamic class, so that handlers of that class catch it.
    [[noreturn]] virtual void throwClone() const;

private:
    mutable std::string m_what;
    String m_message;
    CProps m_props;
    String m_second;
    long long m_code;
    P<CError> m_cause;
    [[maybe_unused]] void* m_reserved = nullptr; ///< room for later versions of this class
};

/// A path that climbs above the root. Code -1, no properties, no cause.
class FDN_EXPORT CBadPathError : public CError {
public:
    /// The message is "Invalid path: " and the text of the path.
    explicit CBadPathError(TPathImpl<CUnixPathTraits> const& path);

    P<CError> clone() const override;
    [[noreturn]] void throwClone() const override;
};

/// A text that an encoding cannot represent. The message is always the same and does not reveal the text.
class FDN_EXPORT CUnencodableStringError : public CError {
public:
    CUnencodableStringError();

    P<CError> clone() const override;
    [[noreturn]] void throwClone() const override;
};

/// An operation that exists in the interface but not on this system.
class FDN_EXPORT CNotImplementedError : public CError {
public:
    /// The message names the operation.
    explicit CNotImplementedError(String const& operation);

    P<CError> clone() const override;
    [[noreturn]] void throwClone() const override;
};

/// The message of any exception as text: of a CError as it is, of others what() read by the rule of
/// String::fromBytes().
FDN_EXPORT String getMessageOf(std::exception const& error);

} // namespace fdn
