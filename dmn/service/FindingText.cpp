#include <dmn/service/FindingText.h>

namespace dmn {

fdn::String describeRemedy(fdn::String const& command) {
    return "  Remedy: " + command;
}

fdn::String describeFindings(fdn::TList<DaemonFinding> const& findings) {
    fdn::String lines;
    for (DaemonFinding const& finding : findings) {
        lines << (lines.empty() ? "" : "\n") << finding.problem;
        if (!finding.remedy.empty())
            lines << "\n" << describeRemedy(finding.remedy);
    }
    return lines;
}

} // namespace dmn
