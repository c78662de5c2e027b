#include <dmn/service/FindingText.h>

namespace dmn {

fdn::String describeFindings(fdn::TList<DaemonFinding> const& findings) {
    fdn::String lines;
    for (DaemonFinding const& finding : findings) {
        lines << finding.problem << "\n";
        if (!finding.remedy.empty())
            lines << "  Remedy: " << finding.remedy << "\n";
    }
    return lines;
}

} // namespace dmn
