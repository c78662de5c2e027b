#include <dmnctl/daemons/daemonJson.h>

#include <dmnctl/show/json.h>
#include <dmnctl/show/text.h>

#include <array>

#include <time.h>

namespace dmnctl {

namespace {

std::string composeTime(fdn::CTime const& time) {
    auto const seconds = static_cast<time_t>(time.getMicroseconds() / 1000000);
    tm utc = {};
    std::array<char, 32> text = {};
    gmtime_r(&seconds, &utc);
    strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &utc);
    return text.data();
}

Json orNull(fdn::String const& text) {
    return text.empty() ? Json() : Json(toUTF8(text));
}

void addProcess(Json& object, DaemonView const& view) {
    bool const isRunning = view.status.state == dmn::DaemonState::Running;
    object["process"] = isRunning ? Json(view.status.process) : Json();
    object["account"] = view.process ? orNull(view.process->account) : Json();
    object["since"] =
        view.process && view.process->started ? Json(composeTime(*view.process->started)) : Json();
    object["memoryBytes"] = view.process ? Json(view.process->memoryBytes) : Json();
}

Json composeParameters(fdn::TArray<fdn::String> const& params) {
    Json array = Json::array();
    for (fdn::String const& param : params)
        array.push_back(toUTF8(param));
    return array;
}

void addSettings(Json& object, std::optional<dmn::DaemonSettings> const& settings) {
    auto const add = [&](char const* name, auto read) {
        object[name] = settings ? Json(read(*settings)) : Json();
    };
    using Settings = dmn::DaemonSettings;
    add("executable", [](Settings const& stored) { return toUTF8(stored.executable); });
    add("parameters", [](Settings const& stored) { return composeParameters(stored.params); });
    add("controlFolder", [](Settings const& stored) { return toUTF8(stored.controlFolder); });
    add("runAs", [](Settings const& stored) { return toUTF8(stored.runAs); });
    add("transientFolderAppID", [](Settings const& stored) { return toUTF8(stored.transientFolderAppID); });
    add("transientFolderGroup", [](Settings const& stored) { return toUTF8(stored.transientFolderGroup); });
}

Json composeDaemon(ListedDaemon const& daemon) {
    DaemonView const& view = daemon.view;
    Json object;
    object["id"] = toUTF8(view.id);
    object["displayName"] = view.settings ? Json(toUTF8(view.settings->displayName)) : Json();
    object["state"] = getNameOf(view.status.state);
    object["reason"] = orNull(view.status.reason);
    addProcess(object, view);
    object["startsAtBoot"] = daemon.startsAtBoot;
    addSettings(object, view.settings);
    return object;
}

Json composeFindings(fdn::TList<dmn::DaemonFinding> const& findings) {
    Json array = Json::array();
    for (dmn::DaemonFinding const& finding : findings)
        array.push_back({{"problem", toUTF8(finding.problem)}, {"remedy", orNull(finding.remedy)}});
    return array;
}

} // namespace

std::string composeDaemonsJson(std::vector<ListedDaemon> const& daemons) {
    Json array = Json::array();
    for (ListedDaemon const& daemon : daemons)
        array.push_back(composeDaemon(daemon));
    return composeJson(array);
}

std::string composeFindingsJson(std::vector<CheckedDaemon> const& daemons) {
    Json array = Json::array();
    for (CheckedDaemon const& daemon : daemons)
        array.push_back({{"id", toUTF8(daemon.id)}, {"findings", composeFindings(daemon.findings)}});
    return composeJson(array);
}

} // namespace dmnctl
