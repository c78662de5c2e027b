#include <dmn/script/ScriptTrial.h>

#include <fdn/programs.h>

#include <dmn/script/InitScriptFile.h>
#include <dmn/script/Shell.h>

namespace dmn {

namespace {

// The name of a function of the shell, which the script runs instead of the executable.
constexpr char kShow[] = "show";
constexpr char kShowFunction[] = "show() { printf '%s\\n' \"$@\"; }\n";

fdn::String runOnShell(fdn::String const& text, fdn::String const& verb) {
    auto const environment = composeShellEnvironment();
    return fdn::execSyncReturnOutputAsString(composeShellCommand(text, {verb}), false, &environment,
                                             fdn::Path("/"));
}

class Trial {
public:
    explicit Trial(InitScriptValues const& values)
        : m_values(values), m_script(composeInitScript(values)), m_showingScript(composeShowingScript()) {}

    fdn::TList<ScriptFault> run() {
        tryPrinting(setting::kControlFolder, m_values.controlFolder.getText());
        tryPrinting(setting::kRunAs, m_values.runAs);
        tryPrinting(setting::kTransientFolderAppID, m_values.transientFolderAppID);
        tryPrinting(setting::kTransientFolderGroup, m_values.transientFolderGroup);
        tryPrinting(setting::kParams, m_values.parameterLine);
        tryPrinting(setting::kExePath, m_values.exePath.getText());
        tryVerb(m_showingScript, "start", describeStart());
        tryVerb(m_showingScript, "stop", describeStop());
        return m_faults;
    }

private:
    fdn::String composeShowingScript() const {
        InitScriptValues values = m_values;
        values.exePath = fdn::Path(kShow);
        return kShowFunction + composeInitScript(values);
    }

    fdn::String describeStart() const {
        return "Starting " + m_values.displayName + "... \n" + describeDaemon() +
               "--runas=" + m_values.runAs + "\n--transientFolderAppID=" + m_values.transientFolderAppID +
               "\n--transientFolderGroup=" + m_values.transientFolderGroup + "\nstart\n";
    }

    fdn::String describeStop() const {
        return "Stopping " + m_values.displayName + "... \n" + describeDaemon() + "stop\n";
    }

    fdn::String describeDaemon() const {
        return "--controlFolder=" + m_values.controlFolder.getText() + "\n--id=" + m_values.daemonId + "\n";
    }

    void tryPrinting(fdn::String const& name, fdn::String const& value) {
        tryVerb(m_script, "print" + name, value + "\n");
    }

    void tryVerb(fdn::String const& script, fdn::String const& verb, fdn::String const& expected) {
        fdn::String const printed = runOnShell(script, verb);
        if (printed != expected)
            m_faults.push_back({verb, expected, printed});
    }

    InitScriptValues const& m_values;
    fdn::String m_script;
    fdn::String m_showingScript;
    fdn::TList<ScriptFault> m_faults;
};

} // namespace

fdn::TList<ScriptFault> tryInitScript(InitScriptValues const& values) {
    return Trial(values).run();
}

} // namespace dmn
