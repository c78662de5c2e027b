#include <dmnctl/log/EntryJson.h>

#include <dmnctl/show/json.h>

#include <charconv>
#include <cstdint>

namespace dmnctl {

namespace {

Json orNull(std::string const& text) {
    return text.empty() ? Json() : Json(text);
}

// A text that is no number stays a text.
Json toNumber(std::string const& text) {
    std::int64_t number = 0;
    char const* const end = text.data() + text.size();
    auto const [rest, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && rest == end ? Json(number) : orNull(text);
}

Json toJson(std::vector<Property> const& properties) {
    Json array = Json::array();
    for (Property const& property : properties)
        array.push_back({{"name", property.name}, {"value", property.value}});
    return array;
}

void describe(Json& object, ErrorDescription const& error) {
    object["what"] = error.what;
    if (!error.second.empty())
        object["second"] = error.second;
    object["code"] = toNumber(error.code);
    object["properties"] = toJson(error.properties);
}

void describeErrors(Json& object, std::vector<ErrorDescription> const& errors) {
    describe(object, errors.front());
    Json causes = Json::array();
    for (std::size_t i = 1; i < errors.size(); ++i) {
        Json cause;
        describe(cause, errors[i]);
        causes.push_back(std::move(cause));
    }
    object["causes"] = std::move(causes);
}

} // namespace

std::string toJson(Entry const& entry, std::string const& id) {
    Json object;
    object["id"] = id;
    object["time"] = orNull(entry.time);
    object["level"] = orNull(entry.level);
    object["process"] = toNumber(entry.process);
    object["thread"] = toNumber(entry.thread);
    object["text"] = orNull(entry.text);
    if (!entry.where.empty())
        object["where"] = entry.where;
    if (!entry.errors.empty())
        describeErrors(object, entry.errors);
    if (entry.isDamaged)
        object["damaged"] = true;
    return dumpJson(object, -1);
}

} // namespace dmnctl
