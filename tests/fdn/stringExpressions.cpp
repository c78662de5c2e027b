// Every expression that mixes a String with another text has the same type: a String when it joins them, a
// bool when it compares them. It is compiled as C++20 as well, where compilers try comparisons from both
// sides.

#include <fdn/String.h>

#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

using fdn::String;

namespace {

class Derived : public String {};

template <class Expected, class... Expressions>
constexpr bool are = (std::is_same_v<Expressions, Expected> && ...);

template <class Left, class Right>
constexpr bool canBeJoined() {
    return are<String, decltype(std::declval<Left>() + std::declval<Right>()),
               decltype(std::declval<Right>() + std::declval<Left>())>;
}

template <class Left, class Right>
constexpr bool canBeCompared() {
    return are<bool, decltype(std::declval<Left>() == std::declval<Right>()),
               decltype(std::declval<Left>() != std::declval<Right>()),
               decltype(std::declval<Left>() < std::declval<Right>()),
               decltype(std::declval<Left>() > std::declval<Right>()),
               decltype(std::declval<Left>() <= std::declval<Right>()),
               decltype(std::declval<Left>() >= std::declval<Right>())>;
}

template <class Text>
constexpr bool canBeAppended() {
    return are<String&, decltype(std::declval<String&>() += std::declval<Text>()),
               decltype(std::declval<String&>() << std::declval<Text>())>;
}

template <class Text, class Other>
constexpr bool mixesWith() {
    return canBeJoined<Text, Other>() && canBeCompared<Text, Other>() && canBeCompared<Other, Text>() &&
           canBeAppended<Other>();
}

template <class... Others>
constexpr bool mixes() {
    return (mixesWith<String&, Others>() && ...) && (mixesWith<String const&, Others>() && ...) &&
           (mixesWith<String, Others>() && ...) && (mixesWith<Derived const&, Others>() && ...);
}

static_assert(mixes<String&, String const&, String, Derived&, Derived const&>());
static_assert(mixes<char const (&)[3], char (&)[3], char const*, char const*&, char*, char*&>());
static_assert(mixes<std::string&, std::string const&, std::string, std::string_view>());
static_assert(mixes<wxString&, wxString const&, wxString, wchar_t const (&)[3], wchar_t const*, wchar_t*>());
static_assert(canBeJoined<String const&, char>() && canBeCompared<String const&, char>());
static_assert(canBeJoined<String, char const&>() && canBeCompared<char&, String&>());
static_assert(canBeAppended<char>() && canBeAppended<wchar_t>() && canBeAppended<int>());

// Narrow texts other than literals become Strings only where that is asked for.
static_assert(!std::is_convertible_v<std::string, String> && !std::is_convertible_v<char, String>);

// Inside the namespace, expressions without a String keep their meaning.
[[maybe_unused]] bool compareOthers(std::string const& bytes, wxString const& wide) {
    using namespace fdn;
    return bytes + "x" == bytes && bytes + wide == wide && wide + "x" == wide + L"x" && bytes == wide;
}

} // namespace
