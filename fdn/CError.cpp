#include <fdn/CError.h>

#include <fdn/TSafeGlobalPointer.h>

#include <mutex>

namespace fdn {

namespace {

// toCP() gives nothing for a text that the locale cannot represent.
std::string toNarrow(String const& text) {
    wxCharBuffer const bytes = text.toCP();
    if (bytes.length() > 0 || text.empty())
        return std::string(bytes.data(), bytes.length());
    return text.toUTF8();
}

} // namespace

CError::CError(String const& message) : CError(message, String(), -1, CProps(), nullptr) {}

CError::CError(String const& message, String const& second, long long code, CProps const& props,
               CError const* cause)
    : m_message(message), m_props(props), m_second(second), m_code(code),
      m_cause(const_cast<CError*>(cause)) {}

// m_what is left out: another thread may be making it, and the copy makes its own.
CError::CError(CError const& other)
    : std::exception(other), CBase(other), m_message(other.m_message), m_props(other.m_props),
      m_second(other.m_second), m_code(other.m_code), m_cause(other.m_cause) {}

CError::~CError() = default;

char const* CError::what() const noexcept {
    // An empty m_what means that the text has not been made yet: for an empty message it would be made again
    // and again, while other threads read it.
    if (m_message.empty())
        return "";
    // One lock for all errors, because it is seldom taken and briefly held; one in each would make errors
    // larger and impossible to copy.
    static std::mutex mutex;
    try {
        std::lock_guard<std::mutex> const lock(mutex);
        if (m_what.empty())
            m_what = toNarrow(m_message);
        return m_what.c_str();
    } catch (std::exception const&) {
        return "An error whose message cannot be represented.";
    }
}

P<CError> CError::clone() const {
    return newObj<CError>(*this);
}

void CError::throwClone() const {
    throw CError(*this);
}

CUnencodableStringError::CUnencodableStringError()
    : CError("The string or parts of the string cannot be represented in the specified encoding.") {}

P<CError> CUnencodableStringError::clone() const {
    return newObj<CUnencodableStringError>(*this);
}

void CUnencodableStringError::throwClone() const {
    throw CUnencodableStringError(*this);
}

CNotImplementedError::CNotImplementedError(String const& operation)
    : CError("The function '" + operation + "' is not implemented.") {}

P<CError> CNotImplementedError::clone() const {
    return newObj<CNotImplementedError>(*this);
}

void CNotImplementedError::throwClone() const {
    throw CNotImplementedError(*this);
}

void String::throwUnencodable() {
    throw CUnencodableStringError();
}

void throwGlobalObjectError(char const* message) {
    throw CError(message);
}

String getMessageOf(std::exception const& error) {
    if (auto const* known = dynamic_cast<CError const*>(&error))
        return known->getMessage();
    return String::fromBytes(error.what());
}

} // namespace fdn
