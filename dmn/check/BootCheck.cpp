#include <dmn/check/BootCheck.h>

#include <fdn/CError.h>

#include <dmn/bootSequence.h>
#include <dmn/init/DependencyOrder.h>
#include <dmn/init/InitFolder.h>
#include <dmn/init/RunLevels.h>
#include <dmn/init/SystemdUnits.h>
#include <dmn/script/InitScriptFile.h>
#include <dmn/script/ShellWord.h>

#include <filesystem>
#include <system_error>

namespace dmn {

namespace {

// What was found in the run levels of one kind.
struct LevelLinks {
    fdn::TArray<RunLevel> without; ///< levels that have no link
    fdn::TArray<fdn::Path> wrong;  ///< links that lead elsewhere, or nowhere
    bool isAny = false;
};

bool leadsTo(fdn::Path const& link, fdn::Path const& script) {
    std::error_code ignored;
    return std::filesystem::equivalent(fdn::toFileName(link).data(), fdn::toFileName(script).data(), ignored);
}

LevelLinks lookAtLinks(LinkKind kind, fdn::String const& id, fdn::Path const& script) {
    LevelLinks found;
    for (RunLevel const& runLevel : kRunLevels) {
        if (runLevel.kind != kind)
            continue;
        fdn::TArray<fdn::Path> const links = findRunLevelLinks(runLevel, id);
        if (links.empty())
            found.without.push_back(runLevel);
        for (fdn::Path const& link : links) {
            found.isAny = true;
            if (!leadsTo(link, script))
                found.wrong.push_back(link);
        }
    }
    return found;
}

fdn::String listLevels(fdn::TArray<RunLevel> const& runLevels) {
    fdn::String list = runLevels.size() == 1 ? "run level " : "run levels ";
    char const* separator = "";
    for (RunLevel const& runLevel : runLevels) {
        list << separator << runLevel.level;
        separator = ", ";
    }
    return list;
}

fdn::String composeLinkCommand(fdn::TArray<RunLevel> const& runLevels, fdn::String const& id,
                               fdn::Path const& script) {
    fdn::String command;
    for (RunLevel const& runLevel : runLevels) {
        fdn::Path const link = locateRunLevelFolder(runLevel.level)
                               << fdn::Path(composeRunLevelLinkName(runLevel.level, id));
        command << (command.empty() ? "" : " && ") << "ln -s " << quoteShellWord(script) << " "
                << quoteShellWord(link);
    }
    return command;
}

Findings reportWrongLinks(LevelLinks const& links, fdn::Path const& script) {
    Findings findings;
    for (fdn::Path const& link : links.wrong)
        findings.push_back({"The link '" + link.getText() + "' does not lead to '" + script.getText() + "'.",
                            "ln -sfn " + quoteShellWord(script) + " " + quoteShellWord(link)});
    return findings;
}

Findings checkStartLinks(LevelLinks const& links, fdn::String const& id, fdn::Path const& script) {
    Findings findings = reportWrongLinks(links, script);
    if (!links.without.empty())
        findings.push_back({links.isAny
                                ? "The daemon does not start in " + listLevels(links.without) +
                                      ": its links are missing there."
                                : fdn::String("The daemon does not start at boot: it has no start links."),
                            composeLinkCommand(links.without, id, script), true});
    return findings;
}

Findings checkKillLinks(LevelLinks const& links, fdn::String const& id, fdn::Path const& script) {
    Findings findings = reportWrongLinks(links, script);
    if (!links.without.empty())
        findings.push_back({"The daemon is not stopped in an orderly way in " + listLevels(links.without) +
                                ": its links are missing there.",
                            composeLinkCommand(links.without, id, script)});
    return findings;
}

// Of a daemon that has its start links.
char const* explain(fdn::String const& id, BootSequence sequence) {
    switch (sequence) {
    case BootSequence::LinkOrder:
        return "the default run level has no link to it.";
    case BootSequence::DependencyOrder:
        return readDependencyOrder().count(id) > 0
                   ? "the default run level has no link to it."
                   : "the order of scripts that insserv has computed does not have it.";
    case BootSequence::Systemd:
        return hasOwnUnit(id) ? "its systemd unit is not enabled."
                              : "this machine's systemd does not read init scripts.";
    case BootSequence::None:
        break;
    }
    return "this machine has no init that reads init scripts.";
}

Findings checkSequence(fdn::String const& id) {
    BootSequence const sequence = detectBootSequence();
    if (startsAtBoot(id, sequence))
        return {};
    return {{fdn::String("The daemon does not start at boot: ") + explain(id, sequence),
             composeBootCommand(id, sequence), true}};
}

} // namespace

Findings checkInitFolders() {
    Findings findings;
    auto const check = [&](fdn::String const& name) {
        try {
            findInitFolder(name);
        } catch (fdn::CError const& error) {
            findings.push_back({error.getMessage(), "mkdir /etc/" + name});
        }
    };
    check("init.d");
    for (RunLevel const& runLevel : kRunLevels)
        check(fdn::String::Format("rc%d.d", runLevel.level));
    return findings;
}

Findings checkBoot(fdn::String const& id) {
    // Links mean nothing to a daemon that systemd runs by a unit of its own.
    if (detectBootSequence() == BootSequence::Systemd && hasOwnUnit(id))
        return checkSequence(id);
    try {
        fdn::Path const script = locateInitScript(id);
        LevelLinks const starts = lookAtLinks(LinkKind::Start, id, script);
        LevelLinks const kills = lookAtLinks(LinkKind::Kill, id, script);
        Findings findings = checkStartLinks(starts, id, script);
        append(findings, checkKillLinks(kills, id, script));
        if (starts.isAny && starts.wrong.empty())
            append(findings, checkSequence(id));
        return findings;
    } catch (fdn::CError const& error) {
        return {{error.getMessage(), ""}};
    }
}

} // namespace dmn
