#pragma once

#include <string>

namespace test {

/// Names each test after its case, which has a field `name`: the last argument of INSTANTIATE_TEST_SUITE_P.
constexpr auto nameOfCase = [](auto const& test) { return std::string(test.param.name); };

} // namespace test
