#pragma once

#include <fdn/String.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// What libFuzzer calls.
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size);

namespace fuzz {

/// Ends the program, as a finding, unless the condition holds.
void require(bool condition, char const* property);

/// The bytes of the input.
std::string toBytes(std::uint8_t const* data, std::size_t size);

/// The input as exactly this many pieces, which NUL separates; those that it lacks are empty, and the last
/// one has the rest.
std::vector<std::string> split(std::string const& input, std::size_t count);

/// The bytes read as text.
fdn::String toText(std::string const& bytes);

/// The path of a name in a folder that this process alone uses, and which goes when the process ends.
std::string inOwnFolder(char const* name);

/// Makes the file, or replaces its content.
void writeFile(std::string const& path, std::string const& content);

} // namespace fuzz
