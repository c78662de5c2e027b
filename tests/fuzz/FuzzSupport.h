#pragma once

#include <fdn/String.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// libFuzzer calls these.
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size);

namespace fuzz {

/// Unless the condition holds, prints the violated property and aborts, which the fuzzer counts as a finding.
void require(bool condition, char const* property);

/// The input as a string of bytes.
std::string toBytes(std::uint8_t const* data, std::size_t size);

/// Splits the input at NUL into exactly this many pieces. Pieces that it lacks are empty; the last one has
/// the rest.
std::vector<std::string> split(std::string const& input, std::size_t count);

/// Reads the bytes as text.
fdn::String toText(std::string const& bytes);

/// The path of this name in a folder that only this process uses and that is deleted when the process ends.
std::string inOwnFolder(char const* name);

/// Creates the file or replaces its content.
void writeFile(std::string const& path, std::string const& content);

} // namespace fuzz
