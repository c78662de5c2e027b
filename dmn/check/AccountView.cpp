#include <dmn/check/AccountView.h>

#include <fdn/CError.h>
#include <fdn/CSystemAccountManager.h>

#include <dmn/script/runShellAs.h>

#include <iterator>
#include <string>

#include <unistd.h>

namespace dmn {

namespace {

// Asks test(1) each question, which is two arguments, and prints y or n for it. With a test's own operator
// first, the path may be any text (POSIX test: two arguments).
constexpr char kAsk[] =
    R"(while [ $# -gt 0 ]; do if [ "$1" "$2" ]; then printf y; else printf n; fi; shift 2; done)";

constexpr char const* kFolderQuestions[] = {"-e", "-d", "-x", "-w"};
constexpr char const* kFileQuestions[] = {"-e", "-h", "-d", "-f", "-w", "-x"};

// The folders above, from the root down.
fdn::TArray<fdn::Path> foldersAbove(fdn::Path const& path) {
    fdn::String const& text = path.getText();
    fdn::TArray<fdn::Path> folders{fdn::Path("/")};
    for (std::size_t end = text.find('/', 1); end != fdn::String::npos; end = text.find('/', end + 1))
        folders.push_back(fdn::Path(text.substr(0, end)));
    return folders;
}

fdn::TArray<fdn::String> composeQuestions(fdn::TArray<fdn::Path> const& folders, fdn::Path const& path) {
    fdn::TArray<fdn::String> arguments;
    auto const ask = [&](char const* question, fdn::Path const& about) {
        arguments.push_back(question);
        arguments.push_back(about.getText());
    };
    for (fdn::Path const& folder : folders) {
        for (char const* const question : kFolderQuestions)
            ask(question, folder);
    }
    for (char const* const question : kFileQuestions)
        ask(question, path);
    return arguments;
}

// Reads the answers in the order of the questions.
class Answers {
public:
    explicit Answers(std::string const& answers) : m_answers(answers) {}

    bool next() { return m_answers.at(m_place++) == 'y'; }

private:
    std::string const& m_answers;
    std::size_t m_place = 0;
};

Barrier readFolder(Answers& answers) {
    bool const isThere = answers.next();
    bool const isFolder = answers.next();
    bool const isOpen = answers.next();
    if (!isThere)
        return Barrier::Missing;
    if (!isFolder)
        return Barrier::NoFolder;
    return isOpen ? Barrier::None : Barrier::Closed;
}

void readFolders(FileLook& look, fdn::TArray<fdn::Path> const& folders, Answers& answers) {
    for (fdn::Path const& folder : folders) {
        Barrier const barrier = readFolder(answers);
        bool const mayWrite = answers.next();
        if (look.barrier != Barrier::None)
            continue;
        look.barrier = barrier;
        if (barrier == Barrier::None)
            look.mayMake = mayWrite;
        else
            look.barrierPath = folder;
    }
}

void readFile(FileLook& look, Answers& answers) {
    look.isMissing = !answers.next();
    look.isDanglingLink = answers.next() && look.isMissing;
    look.isFolder = answers.next();
    look.isRegularFile = answers.next();
    look.mayWrite = answers.next();
    look.mayExecute = answers.next();
}

} // namespace

AccountView::AccountView(fdn::String const& runAs) {
    if (!fdn::CSystemAccountManager::get().isProcessUserAdmin())
        return;
    // A set-user-ID program is root's only by half, and some shells give that half up.
    if (!runAs.empty() || getuid() != 0)
        m_account = fdn::newObj<fdn::CImpersonateInfo>(
            fdn::CSystemAccountManager::get().getUserID(runAs.empty() ? "root" : runAs));
    m_isByAccount = true;
}

FileLook AccountView::look(fdn::Path const& path) const {
    fdn::TArray<fdn::Path> const folders = foldersAbove(path);
    std::string const answers = runShellAs(m_account.get(), kAsk, composeQuestions(folders, path));
    if (answers.size() != folders.size() * std::size(kFolderQuestions) + std::size(kFileQuestions))
        throw fdn::CError("The shell '/bin/sh' does not tell about '" + path.getText() + "'.");
    FileLook look;
    look.isByAccount = m_isByAccount;
    Answers read(answers);
    readFolders(look, folders, read);
    readFile(look, read);
    return look;
}

} // namespace dmn
