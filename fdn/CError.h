#pragma once

#include <fdn/CBase.h>
#include <fdn/CProps.h>
#include <fdn/P.h>
#include <fdn/String.h>

#include <exception>
#include <string>

namespace fdn {

/// The exception in which every failure of the library travels.
///
/// It carries a message for people, a second text, a code (-1, or the number of the system error), properties
/// for programs, and possibly the error that caused it. Thrown by value; it can also outlive its handler as a
/// P<CError> made with clone(). A derived class overrides clone() and throwClone().
class FDN_EXPORT CError : public std::exception, public CBase {
public:
    /// An error with a message alone: no second text, code -1, no properties, no cause.
    explicit CError(String const& message);

    /// A non-null cause is shared, not copied: it must live on the heap, as what clone() returns does.
    CError(String const& message, String const& second, long long code, CProps const& props,
           CError const* cause);

    /// A copy that shares the cause. Handlers of the class catch it.
    CError(CError const& other);
    CError& operator=(CError const&) = delete;
    ~CError() override;

    /// The message in the locale's encoding, or in UTF-8 where the locale cannot represent it. The text
    /// belongs to the error. Any thread may call it.
    char const* what() const noexcept override;

    /// What went wrong, for people.
    String const& getMessage() const { return m_message; }

    /// What it was about, for programs: such as "path" or "func".
    CProps const& getProps() const { return m_props; }

    /// A second text for people; the errors of the library have none.
    String const& getSecondText() const { return m_second; }

    /// The number of the system error, or -1 for every other error.
    long long getCode() const { return m_code; }

    /// The error that led to this one, or an empty pointer.
    P<CError> getCause() const { return m_cause; }

    /// A copy on the heap with the same dynamic class.
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
};

/// A text that an encoding cannot represent.
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

/// The message of any exception as text: of a CError as it is, of others read by the rule of
/// String::fromBytes().
FDN_EXPORT String getMessageOf(std::exception const& error);

} // namespace fdn
