#include <fdn/crash/uncaughtException.h>

#include <fdn/CError.h>
#include <fdn/String.h>
#include <fdn/crash/LastEntry.h>
#include <fdn/log/LogEntry.h>
#include <fdn/log/XMLText.h>
#include <fdn/log/readableEntry.h>
#include <fdn/system/MallocedText.h>

#include <cstdlib>
#include <exception>
#include <string>
#include <typeinfo>

#include <cxxabi.h>

namespace fdn {

namespace {

std::terminate_handler previousHandler = nullptr;

String getNameOfType(std::type_info const* type) {
    if (type == nullptr)
        return "of another language";
    int status = 0;
    MallocedText const name(abi::__cxa_demangle(type->name(), nullptr, nullptr, &status));
    return String::fromBytes(name ? name.get() : type->name());
}

// Of the exception that is being handled. One that is no std::exception has nothing but its type.
String getMessage() {
    try {
        throw;
    } catch (std::exception const& error) {
        return getMessageOf(error);
    } catch (...) {
        return getNameOfType(abi::__cxa_current_exception_type());
    }
}

String describe() {
    if (std::current_exception() == nullptr)
        return "std::terminate() has ended the process.";
    return "An exception that nobody caught has ended the process: " + getMessage();
}

void report() {
    String const text = describe();
    std::string const entry = formatLogEntry(LogLevel::Error, toXMLText(text));
    std::string const readable = formatReadableEntry(LogLevel::Error, toReadableText(text));
    if (claimLastEntry()) // once nothing can fail any more
        writeLastEntry(entry, readable);
}

// The abort that follows finds the last entry written.
[[noreturn]] void handle() {
    try {
        report();
    } catch (...) {
        // There is no memory for the entry. The abort leaves one that needs none.
    }
    previousHandler();
    std::abort();
}

} // namespace

void reportUncaughtExceptions() {
    previousHandler = std::set_terminate(&handle);
}

} // namespace fdn
