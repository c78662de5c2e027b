#include <dmn/script/ScriptTrial.h>

#include <fdn/CPendingOutput.h>

#include <dmn/script/InitScriptFile.h>
#include <dmn/script/Shell.h>

namespace dmn {

namespace {

// The name of a function of the shell, which the script runs instead of the executable.
constexpr char kShow[] = "show";
constexpr char kShowFunction[] = "show() { printf '%s\\n' \"$@\"; }\n";

fdn::CPendingOutput runOnShell(fdn::String const& text, fdn::String const& verb) {
    auto const environment = composeShellEnvironment();
    return fdn::CPendingOutput(composeShellCommand(text, {verb}), false, &environment, fdn::Path("/"));
}

struct VerbTrial {
    fdn::String verb;
    fdn::String expected;
    fdn::CPendingOutput printed;
};

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
        return takeFaults();
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
        m_trials.push_back({verb, expected, runOnShell(script, verb)});
    }

    fdn::TList<ScriptFault> takeFaults() {
        fdn::TList<ScriptFault> faults;
        for (VerbTrial& trial : m_trials) {
            fdn::String const printed = trial.printed.take();
            if (printed != trial.expected)
                faults.push_back({trial.verb, trial.expected, printed});
        }
        return faults;
    }

    InitScriptValues const& m_values;
    fdn::String m_script;
    fdn::String m_showingScript;
    fdn::TList<VerbTrial> m_trials; // they run side by side
};

} // namespace

fdn::TList<ScriptFault> tryInitScript(InitScriptValues const& values) {
    return Trial(values).run();
}

} // namespace dmn
