#include <dmn/daemonChecks.h>

#include <fdn/CError.h>

#include <dmn/CDaemonController.h>
#include <dmn/check/AccountCheck.h>
#include <dmn/check/AccountView.h>
#include <dmn/check/BootCheck.h>
#include <dmn/check/FileCheck.h>
#include <dmn/check/PIDFileCheck.h>
#include <dmn/check/ScriptCheck.h>
#include <dmn/id/DaemonId.h>
#include <dmn/script/InitScriptFile.h>
#include <dmn/script/ParameterLine.h>

#include <optional>

namespace dmn {

namespace {

/// Root's rights while the object lives, if this process may have them.
class RootIfPossible {
public:
    RootIfPossible() {
        try {
            m_root.emplace();
        } catch (fdn::CError const&) { // NOLINT(bugprone-empty-catch): then less is checked
        }
    }

private:
    std::optional<CDaemonController::CMakeRoot> m_root;
};

DaemonFinding report(fdn::CError const& error) {
    return {error.getMessage(), ""};
}

// Normalizes the path as install() does.
fdn::Path normalize(fdn::Path const& path, Findings& findings) {
    try {
        return path.toNormalized(true, fdn::Path());
    } catch (fdn::CError const& error) {
        findings.push_back(report(error));
        return fdn::Path();
    }
}

// Some numbers are no code points, so that no text with them can be stored.
fdn::String composeParameters(CDaemonInfo const& info, Findings& findings) {
    try {
        return composeParameterLine(info.params);
    } catch (fdn::CError const& error) {
        findings.push_back(report(error));
        return fdn::String();
    }
}

Findings checkId(fdn::String const& id) {
    if (isDaemonId(id))
        return {};
    return {{"Invalid daemon id: '" + id +
                 "'. It must be a file name of at most 251 bytes; use letters, digits, '-' and '_'.",
             ""}};
}

Findings requireControlFolder(fdn::Path const& folder) {
    if (!folder.getText().empty())
        return {};
    return {{"There is no control folder: give one with the option --controlFolder.", ""}};
}

Findings checkParameters(CDaemonInfo const& info) {
    try {
        requireArguments(info.params);
        return {};
    } catch (fdn::CError const& error) {
        return {report(error)};
    }
}

InitScriptValues composeValues(CheckedDaemon const& daemon, fdn::String const& displayName) {
    StartSettings const& settings = daemon.settings;
    fdn::Path const script = fdn::Path("/etc/init.d") << fdn::Path(daemon.id);
    return {daemon.id,
            settings.runAs,
            settings.transientFolderAppID,
            settings.transientFolderGroup,
            displayName,
            settings.controlFolder,
            settings.exePath,
            settings.params,
            script};
}

Findings checkFiles(CheckedDaemon const& daemon, AccountView const& view) {
    Findings findings = checkExecutable(daemon.settings, view);
    if (!daemon.settings.controlFolder.getText().empty())
        append(findings, checkControlFolder(daemon, view));
    return findings;
}

Findings checkFilesAsAccount(CheckedDaemon const& daemon) {
    try {
        return checkFiles(daemon, AccountView(daemon.settings.runAs));
    } catch (fdn::CError const& error) {
        return {report(error)};
    }
}

// The account, and what it needs: whatever makes a start fail.
Findings checkStart(CheckedDaemon const& daemon) {
    Findings findings = checkAccount(daemon.settings);
    bool const isAccountKnown = findings.empty();
    append(findings, checkTransientFolder(daemon.settings));
    append(findings, isAccountKnown ? checkFilesAsAccount(daemon) : checkFiles(daemon, AccountView()));
    return findings;
}

Findings checkTexts(CheckedDaemon const& daemon, CDaemonInfo const& info) {
    InitScriptValues const values = composeValues(daemon, info.displayName);
    Findings findings = checkScriptValues(values);
    append(findings, checkParameters(info));
    // The shell runs nothing of a hostile value, because it never sees one.
    if (findings.empty())
        append(findings, tryScriptValues(values));
    return findings;
}

/// The installed daemon's settings, as far as its script tells them. It is run even where its text would do,
/// because whether it tells them is part of the check.
class InstalledDaemon {
public:
    InstalledDaemon(fdn::String const& id, fdn::Path const& controlFolder, MissingFolder missing) : m_id(id) {
        m_daemon.id = id;
        m_daemon.isFolderMade = missing == MissingFolder::IsMadeByStart;
        StartSettings& settings = m_daemon.settings;
        fdn::Path const stored(read(setting::kControlFolder));
        settings.controlFolder =
            normalize(controlFolder.getText().empty() ? stored : controlFolder, m_findings);
        settings.params = read(setting::kParams);
        settings.runAs = read(setting::kRunAs);
        settings.transientFolderAppID = read(setting::kTransientFolderAppID);
        settings.transientFolderGroup = read(setting::kTransientFolderGroup);
        settings.exePath = fdn::Path(read(setting::kExePath));
    }

    CheckedDaemon const& getDaemon() const { return m_daemon; }

    /// Why settings could not be read.
    Findings const& getFindings() const { return m_findings; }

private:
    fdn::String read(char const* name) {
        try {
            return readSetting(m_id, name);
        } catch (fdn::CError const& error) {
            m_findings.push_back(report(error));
            return fdn::String();
        }
    }

    fdn::String m_id;
    CheckedDaemon m_daemon;
    Findings m_findings;
};

Findings checkSettings(CheckedDaemon const& daemon) {
    Findings findings = requireControlFolder(daemon.settings.controlFolder);
    append(findings, checkScriptValues(composeValues(daemon, fdn::String())));
    append(findings, checkStart(daemon));
    if (!daemon.settings.controlFolder.getText().empty())
        append(findings, checkPIDFile(daemon.id, daemon.settings.controlFolder));
    return findings;
}

} // namespace

fdn::TList<DaemonFinding> checkInstallation(InstallRequest const& request) {
    RootIfPossible const root;
    Findings findings = checkId(request.id);
    bool const isNamed = findings.empty();
    append(findings, requireControlFolder(request.controlFolder));
    CheckedDaemon daemon{request.id, {}, true};
    StartSettings& settings = daemon.settings;
    settings.controlFolder = normalize(request.controlFolder, findings);
    settings.params = composeParameters(request.info, findings);
    settings.runAs = request.runAs;
    settings.transientFolderAppID = request.transientFolderAppID;
    settings.transientFolderGroup = request.transientFolderGroup;
    settings.exePath = normalize(request.info.exePath, findings);
    if (isNamed)
        append(findings, checkTexts(daemon, request.info));
    append(findings, checkStart(daemon));
    append(findings, checkInitFolders());
    if (isNamed)
        append(findings, checkWritingScript(request.id));
    return findings;
}

fdn::TList<DaemonFinding> checkDaemon(fdn::String const& id, fdn::Path const& controlFolder,
                                      MissingFolder missing) {
    requireDaemonId(id);
    RootIfPossible const root;
    Findings findings = checkScriptFile(id);
    if (!findings.empty())
        return findings;
    InstalledDaemon const installed(id, controlFolder, missing);
    findings = installed.getFindings();
    if (findings.empty())
        append(findings, checkSettings(installed.getDaemon()));
    Findings const folders = checkInitFolders();
    append(findings, folders.empty() ? checkBoot(id) : folders);
    return findings;
}

} // namespace dmn
