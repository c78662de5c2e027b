#include "ControllerTest.h"

#include "support/CurrentFolder.h"
#include "support/Obstacles.h"
#include "support/Program.h"
#include "support/errors.h"

#include <fdn/uri.h>

#include <gmock/gmock.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <regex>

#include <sys/stat.h>
#include <unistd.h>

namespace test {

namespace {

using dmn::CDaemonController;
using testing::HasSubstr;

/// The settings from which a script is made, as UTF-8.
struct Settings {
    std::string id = "app";
    std::string runAs;
    std::string transientFolderAppID;
    std::string transientFolderGroup;
    std::string displayName;
    std::string controlFolder;
    std::string exePath;
    std::vector<std::string> params;
};

fdn::String text(std::string const& utf8) {
    return fdn::String::fromBytes(utf8);
}

fdn::Path create(Settings const& settings) {
    dmn::CDaemonInfo info;
    info.displayName = text(settings.displayName);
    info.exePath = fdn::Path(text(settings.exePath));
    for (std::string const& param : settings.params)
        info.params.push_back(text(param));
    return CDaemonController::createInitScript(
        info, text(settings.id), fdn::Path(text(settings.controlFolder)), text(settings.runAs),
        text(settings.transientFolderAppID), text(settings.transientFolderGroup));
}

/// The values that the script assigns without quotes of its own, as it writes them.
struct Words {
    std::string exePath;
    std::string runParams;
    std::string initFilePath = "/etc/init.d/app";
};

/// The lines of the script that follow the values.
constexpr char const* kVerbLines[] = {
    "",
    "case \"$1\" in",
    "  printControlFolder)",
    "    echo $CONTROLFOLDER",
    "    ;;",
    "  printRunAs)",
    "    echo $RUNAS",
    "    ;;",
    "  printTransientFolderAppID)",
    "    echo $TRANSIENTFOLDERAPPID",
    "    ;;",
    "  printTransientFolderGroup)",
    "    echo $TRANSIENTFOLDERGROUP",
    "    ;;",
    "  printParams)",
    "    echo $RUNPARAMS",
    "    ;;",
    "  printExePath)",
    "    echo $EXEPATH",
    "    ;;",
    "  start)",
    "    echo \"Starting $DISPLAYNAME... \"",
    ("    $EXEPATH --controlFolder=$CONTROLFOLDER --id=$DAEMONID --runas=$RUNAS"
     " --transientFolderAppID=$TRANSIENTFOLDERAPPID --transientFolderGroup=$TRANSIENTFOLDERGROUP start"),
    "    ;;",
    "  stop)",
    "    echo \"Stopping $DISPLAYNAME... \"",
    "    $EXEPATH --controlFolder=\"$CONTROLFOLDER\" --id=$DAEMONID stop",
    "    ;;",
    "  restart|force-reload)",
    "    echo \"Restarting $DISPLAYNAME: \"",
    "    $EXEPATH --controlFolder=\"$CONTROLFOLDER\" --id=$DAEMONID stop",
    "    sleep 1",
    "    $EXEPATH --controlFolder=$CONTROLFOLDER --id=$DAEMONID start",
    "    ;;",
    "  *)",
    "    echo \"Usage: $INITFILEPATH {start|stop|restart|force-reload}\" >&2",
    "    exit 1",
    "    ;;",
    "",
    "esac",
    "",
    "exit 0",
};

std::string golden(Settings const& settings, Words const& words) {
    std::string const valueLines[] = {
        "#!/bin/sh",
        "",
        "DAEMONID=\"" + settings.id + "\"",
        "RUNAS=\"" + settings.runAs + "\"",
        "TRANSIENTFOLDERAPPID=\"" + settings.transientFolderAppID + "\"",
        "TRANSIENTFOLDERGROUP=\"" + settings.transientFolderGroup + "\"",
        "DISPLAYNAME=\"" + settings.displayName + "\"",
        "CONTROLFOLDER=\"" + settings.controlFolder + "\"",
        "EXEPATH=" + words.exePath,
        "RUNPARAMS=" + words.runParams,
        "INITFILEPATH=" + words.initFilePath,
    };
    std::string script;
    for (std::string const& line : valueLines)
        script += line + "\n";
    for (std::string const line : kVerbLines)
        script += line + "\n";
    return script;
}

/// Parameters, and the line that the script makes of them.
struct ParameterLine {
    std::vector<std::string> params;
    std::string line;
};

void expectParameterLines(std::vector<ParameterLine> const& expected) {
    for (auto const& [params, line] : expected) {
        Settings settings;
        settings.params = params;

        create(settings);

        EXPECT_EQ(golden(settings, {"", line}), readFile("/etc/init.d/app"));
    }
}

/// Calls the script with the verb, in this shell and locale.
Outcome ask(std::string const& shell, std::string const& verb, std::string const& locale = "C.UTF-8") {
    return run({shell, "/etc/init.d/app", verb}, {{"LC_ALL", locale}});
}

constexpr char const* kShells[] = {"dash", "bash", "/bin/sh"};

class InitScript : public ControllerTest {
protected:
    /// Makes a program that writes its arguments in angle brackets.
    std::string makeArgumentPrinter(std::string const& name) const {
        std::string const program = m_folder.name(name.c_str());
        writeFile(program, "#!/bin/sh\nprintf '<%s>' \"$@\"\necho\n");
        setMode(program, 0755);
        return program;
    }

    Settings withPrinter() const {
        Settings settings;
        settings.displayName = "My daemon";
        settings.controlFolder = "/srv/app";
        settings.exePath = makeArgumentPrinter("program");
        return settings;
    }
};

} // namespace

TEST_F(InitScript, IsTheGoldenTextForEverySettings) {
    struct Example {
        Settings settings;
        Words words;
    };

    Example const examples[] = {
        {{}, {}},
        {{"app", "svc", "appid", "staff", "My daemon", "/srv/app", "/usr/sbin/app", {}},
         {"/usr/sbin/app", ""}},
        {{"b", "", "", "", "", "", "/b", {"alpha"}}, {"/b", "alpha", "/etc/init.d/b"}},
        {{"app", "", "", "", "", "", "", {"alpha", "beta", "--gamma=3"}}, {"", "\"alpha beta --gamma%3D3\""}},
        {{"app", "", "", "", "", "", "", {"al pha"}}, {"", "al%20pha"}},
        {{"app", "", "", "", "", "", "", {"\"'$x`y`\\;&|<>()*?[]#~!{}%"}},
         {"", "%22%27%24x%60y%60%5C%3B%26%7C%3C%3E%28%29%2A%3F%5B%5D%23%7E%21%7B%7D%25"}},
        {{"grüße", "müller", "ä", "ö", "Grüße, Welt", "/srv/Ä", "/opt/ü", {"ß"}},
         {"/opt/ü", "%C3%9F", "/etc/init.d/grüße"}},
        {{"my app", "a b", "c  d", "e\tf", "it's", "/srv/my app", "/opt/my app", {"x", "y"}},
         {"\"/opt/my app\"", "\"x y\"", "\"/etc/init.d/my app\""}},
    };
    for (Example const& example : examples) {
        fdn::Path const script = create(example.settings);

        EXPECT_EQ(golden(example.settings, example.words), readFile(script.getText().toUTF8()));
    }
}

TEST_F(InitScript, NormalizesThePathsThatItHolds) {
    Settings settings;
    settings.controlFolder = "state/../control/";
    settings.exePath = "./bin//app";
    CurrentFolder const current(m_folder.name());

    create(settings);

    settings.controlFolder = m_folder.name("control");
    EXPECT_EQ(golden(settings, {m_folder.name("bin/app"), ""}), readFile("/etc/init.d/app"));
}

TEST_F(InitScript, KeepsNoTraceOfEmptyFirstParametersButTheBlankOfLaterOnes) {
    expectParameterLines({
        {{""}, ""},
        {{"", ""}, ""},
        {{"", "", "a"}, "a"},
        {{"a", "", "b"}, "\"a  b\""},
        {{"a", ""}, "\"a \""},
    });
}

TEST_F(InitScript, QuotesAnExecutablePathOnlyWhereTheShellWouldNotReadItAsOneWord) {
    struct Example {
        std::string path;
        std::string word;
    };

    Example const examples[] = {
        {"/opt/a+b,c@d=e%f^g", "/opt/a+b,c@d=e%f^g"},
        {"/opt/#a/*/?/[x]/{y,z}/!", "/opt/#a/*/?/[x]/{y,z}/!"},
        {"/~/a~b", "/~/a~b"},
        {"/a:~root", "\"/a:~root\""},
        {"/a b", "\"/a b\""},
        {"/a\tb", "\"/a\tb\""},
        {"/a\nb", "\"/a\nb\""},
        {"/a$HOME", R"("/a\$HOME")"},
        {R"(/a"b)", R"("/a\"b")"},
        {"/a'b", "\"/a'b\""},
        {"/a`b`", R"("/a\`b\`")"},
        {R"(/a\b)", R"("/a\\b")"},
        {"/a;b", "\"/a;b\""},
        {"/a&b", "\"/a&b\""},
        {"/a|b", "\"/a|b\""},
        {"/a<b", "\"/a<b\""},
        {"/a>b", "\"/a>b\""},
        {"/a(b", "\"/a(b\""},
        {"/a)b", "\"/a)b\""},
    };
    for (Example const& example : examples) {
        Settings settings;
        settings.exePath = example.path;

        create(settings);

        EXPECT_EQ(golden(settings, {example.word, ""}), readFile("/etc/init.d/app"));
    }
}

TEST_F(InitScript, BelongsToRootAndHasTheMode0755WhateverTheUmask) {
    mode_t const before = umask(0077);

    create({});

    umask(before);
    EXPECT_EQ(0755U, modeOf("/etc/init.d/app"));
    EXPECT_EQ(0U, ownerOf("/etc/init.d/app"));
}

TEST_F(InitScript, ReplacesAnExistingScriptWhole) {
    writeFile("/etc/init.d/app", std::string(100000, 'x'));
    setMode("/etc/init.d/app", 0600);

    create({});

    EXPECT_EQ(golden({}, {}), readFile("/etc/init.d/app"));
    EXPECT_EQ(0755U, modeOf("/etc/init.d/app"));
    EXPECT_EQ(std::vector<std::string>{"app"}, entriesOf("/etc/init.d"));
}

TEST_F(InitScript, ReplacesALinkRatherThanItsTarget) {
    writeFile(m_folder.name("target"), "untouched");
    std::filesystem::create_symlink(m_folder.name("target"), "/etc/init.d/app");

    create({});

    EXPECT_EQ("untouched", readFile(m_folder.name("target")));
    EXPECT_FALSE(std::filesystem::is_symlink("/etc/init.d/app"));
}

TEST_F(InitScript, IsWrittenWhereItsPathIsReportedToBe) {
    std::filesystem::remove("/etc/init.d");
    std::filesystem::create_directories("/etc/rc.d/init.d");

    fdn::Path const script = create({});

    EXPECT_EQ("/etc/rc.d/init.d/app", script.getText().toUTF8());
    EXPECT_EQ(golden({}, {"", "", "/etc/rc.d/init.d/app"}), readFile("/etc/rc.d/init.d/app"));
}

TEST_F(InitScript, PrintsEverySettingInEveryShell) {
    create({"app", "svc", "ap pid", "staff", "My daemon", "/srv/my app", "/usr/sbin/app", {"a b", "c"}});

    for (std::string const shell : kShells) {
        EXPECT_EQ("/srv/my app\n", ask(shell, "printControlFolder").output);
        EXPECT_EQ("svc\n", ask(shell, "printRunAs").output);
        EXPECT_EQ("ap pid\n", ask(shell, "printTransientFolderAppID").output);
        EXPECT_EQ("staff\n", ask(shell, "printTransientFolderGroup").output);
        EXPECT_EQ("a%20b c\n", ask(shell, "printParams").output);
        EXPECT_EQ("/usr/sbin/app\n", ask(shell, "printExePath").output);
        EXPECT_EQ(0, ask(shell, "printExePath").status);
    }
}

TEST_F(InitScript, PrintsAnEmptyLineForAnEmptySetting) {
    create({});

    for (std::string const verb :
         {"ControlFolder", "RunAs", "TransientFolderAppID", "TransientFolderGroup", "Params", "ExePath"}) {
        for (std::string const shell : kShells)
            EXPECT_EQ("\n", ask(shell, "print" + verb).output) << shell << " print" << verb;
    }
}

TEST_F(InitScript, PrintsAnExecutablePathUnchangedAndRunsNothingOfIt) {
    std::string const run = "touch " + m_folder.name("marker");
    for (std::string const path :
         {"/a b",    "/a$HOME",  "/a\"b",    "/a'b",        "/a&b",      "/a|b",
          "/a>b",    "/a<b",     "/~/a",     "/a:~root",    "/#a",       "/a\\zb",
          "/{a,b}",  "/!!",      "/a RUN",   "/a; RUN",     "/a& RUN",   "/a| RUN",
          "/a`RUN`", "/a$(RUN)", "/a;(RUN)", "/a\";RUN;\"", "/a';RUN;'", "/a\\\";RUN"}) {
        Settings settings;
        settings.exePath = std::regex_replace(path, std::regex("RUN"), run);
        create(settings);

        for (std::string const shell : kShells) {
            EXPECT_EQ(settings.exePath + "\n", ask(shell, "printExePath").output) << shell;
            EXPECT_EQ("", ask(shell, "printExePath").errors) << shell;
        }
    }
    EXPECT_EQ(std::vector<std::string>{}, entriesOf(m_folder.name()));
}

TEST_F(InitScript, PrintsRunsOfWhiteSpaceInAnExecutablePathAsOneBlank) {
    create({"app", "", "", "", "", "", "/opt/my  \t\n app", {}});

    for (std::string const shell : kShells)
        EXPECT_EQ("/opt/my app\n", ask(shell, "printExePath").output);
}

TEST_F(InitScript, PrintsPathsOfAnyLettersInAnyLocale) {
    std::wstring letters;
    for (wchar_t letter = 0xA1; letter < 0x530; ++letter)
        letters += letter;
    Settings settings;
    settings.exePath = "/" + fdn::String(letters.c_str()).toUTF8() + "€😀";
    settings.controlFolder = settings.exePath;
    create(settings);

    for (std::string const shell : kShells) {
        for (std::string const locale : {"C", "C.UTF-8"}) {
            EXPECT_EQ(settings.exePath + "\n", ask(shell, "printExePath", locale).output) << shell << locale;
            EXPECT_EQ(settings.exePath + "\n", ask(shell, "printControlFolder", locale).output)
                << shell << locale;
        }
    }
}

TEST_F(InitScript, PrintsAnyParameterAsOneWord) {
    std::wstring characters;
    for (wchar_t character = 1; character < 0x300; ++character)
        characters += character;
    std::string const everything = fdn::String(characters.c_str()).toUTF8();
    for (std::string const& param :
         {std::string("-n"), std::string("-e"), std::string("-E"), std::string("-neE"), std::string("-nx"),
          std::string("--"), std::string("-"), everything}) {
        Settings settings;
        settings.params = {param, param};
        create(settings);

        for (std::string const shell : kShells) {
            std::string const line = ask(shell, "printParams").output;
            std::size_t const blank = line.find(' ');
            EXPECT_EQ(param, fdn::uriUnescape(text(line.substr(0, blank))).toUTF8()) << shell;
            EXPECT_EQ(param + "\n", fdn::uriUnescape(text(line.substr(blank + 1))).toUTF8()) << shell;
        }
    }
}

TEST_F(InitScript, WritesOnlyAFirstParameterThatEchoWouldTakeInAnotherWay) {
    expectParameterLines({
        {{"-n"}, "%2Dn"},
        {{"-e", "-n"}, "\"%2De -n\""},
        {{"-neE"}, "%2DneE"},
        {{"", "-E"}, "%2DE"},
        {{"-nx"}, "-nx"},
        {{"a", "-n"}, "\"a -n\""},
        {{"--"}, "--"},
        {{"-"}, "-"},
    });
}

TEST_F(InitScript, StartsTheProgramWithItsAccountAndTransientFolder) {
    Settings settings = withPrinter();
    settings.runAs = "svc";
    settings.transientFolderAppID = "appid";
    settings.transientFolderGroup = "staff";
    create(settings);

    Outcome const outcome = run({"/etc/init.d/app", "start"});

    EXPECT_EQ("Starting My daemon... \n<--controlFolder=/srv/app><--id=app><--runas=svc>"
              "<--transientFolderAppID=appid><--transientFolderGroup=staff><start>\n",
              outcome.output);
    EXPECT_EQ(0, outcome.status);
}

TEST_F(InitScript, StartsTheProgramWithEmptyOptionsForEmptySettings) {
    create(withPrinter());

    Outcome const outcome = run({"/etc/init.d/app", "start"});

    EXPECT_EQ("Starting My daemon... \n<--controlFolder=/srv/app><--id=app><--runas=>"
              "<--transientFolderAppID=><--transientFolderGroup=><start>\n",
              outcome.output);
}

TEST_F(InitScript, StopsTheProgramByControlFolderAndID) {
    create(withPrinter());

    Outcome const outcome = run({"/etc/init.d/app", "stop"});

    EXPECT_EQ("Stopping My daemon... \n<--controlFolder=/srv/app><--id=app><stop>\n", outcome.output);
    EXPECT_EQ(0, outcome.status);
}

TEST_F(InitScript, RestartsByAStopASecondAndAStart) {
    create(withPrinter());
    makeArgumentPrinter("sleep");
    std::string const path = m_folder.name() + ":" + getenv("PATH");

    for (std::string const verb : {"restart", "force-reload"}) {
        Outcome const outcome = run({"/etc/init.d/app", verb}, {{"PATH", path}});

        EXPECT_EQ("Restarting My daemon: \n<--controlFolder=/srv/app><--id=app><stop>\n<1>\n"
                  "<--controlFolder=/srv/app><--id=app><start>\n",
                  outcome.output);
        EXPECT_EQ(0, outcome.status);
    }
}

TEST_F(InitScript, SplitsAControlFolderWithABlankWhenItStartsButNotWhenItStops) {
    Settings settings = withPrinter();
    settings.controlFolder = "/srv/my app";
    create(settings);

    EXPECT_THAT(run({"/etc/init.d/app", "start"}).output,
                HasSubstr("<--controlFolder=/srv/my><app><--id=app>"));
    EXPECT_THAT(run({"/etc/init.d/app", "stop"}).output,
                HasSubstr("<--controlFolder=/srv/my app><--id=app>"));
}

TEST_F(InitScript, SplitsAnExecutablePathWithABlankWhenItStarts) {
    Settings settings = withPrinter();
    settings.exePath += " x";
    create(settings);

    Outcome const outcome = run({"/etc/init.d/app", "start"});

    EXPECT_THAT(outcome.output, HasSubstr("<x><--controlFolder=/srv/app>"));
}

TEST_F(InitScript, ExplainsItsUseAndFailsForAnyOtherVerb) {
    create({"my app", "", "", "", "", "", "", {}});

    for (std::vector<std::string> const& command : {std::vector<std::string>{"/etc/init.d/my app"},
                                                    {"/etc/init.d/my app", "printNothing"},
                                                    {"/etc/init.d/my app", "status"},
                                                    {"/etc/init.d/my app", ""}}) {
        Outcome const outcome = run(command);

        EXPECT_EQ("", outcome.output);
        EXPECT_EQ("Usage: /etc/init.d/my app {start|stop|restart|force-reload}\n", outcome.errors);
        EXPECT_EQ(1, outcome.status);
    }
}

TEST_F(InitScript, CannotBeReadByTheShellWithAQuoteInDisplayNameOrControlFolder) {
    create({"app", "", "", "", "The \"daemon", "", "", {}});
    EXPECT_NE(0, run({"/etc/init.d/app", "printExePath"}).status);

    create({"app", "", "", "", "", "/srv/\"app", "", {}});
    EXPECT_NE(0, run({"/etc/init.d/app", "printExePath"}).status);
}

TEST_F(InitScript, IsNotWrittenWithoutAnInitDirectory) {
    std::filesystem::remove("/etc/init.d");

    EXPECT_EQ("Unknown Linux flavor (cannot locate init.d directory).", messageOf([] { create({}); }));
    EXPECT_FALSE(std::filesystem::exists("/etc/init.d"));
}

TEST_F(InitScript, IsNotWrittenForAPathThatClimbsAboveTheRoot) {
    Settings settings;
    settings.controlFolder = "/../x";

    EXPECT_THROW(create(settings), fdn::CBadPathError);
    EXPECT_EQ(std::vector<std::string>{}, entriesOf("/etc/init.d"));
}

TEST_F(InitScript, NamesTheFileAndTheReasonWhereItCannotBeWritten) {
    writeFile("/etc/init.d/app", "old");
    ReadOnlyFolder const etc("/etc");

    EXPECT_THAT(messageOf([] { create({}); }),
                AllOf(HasSubstr("'/etc/init.d/app'"), HasSubstr("Read-only file system")));
    EXPECT_EQ("old", readFile("/etc/init.d/app"));
}

TEST_F(InitScript, LeavesNothingOfItselfOnAFullDisk) {
    FullFolder const folder("/etc/init.d");

    EXPECT_THAT(messageOf([] { create({}); }),
                AllOf(HasSubstr("'/etc/init.d/app'"), HasSubstr("No space left on device")));
    EXPECT_EQ(std::vector<std::string>{"full"}, entriesOf("/etc/init.d"));
}

TEST_F(InitScript, StaysWrittenWhenItCannotBeMadeExecutable) {
    Outcome const outcome = runInChild([] {
        refuseSystemCall(kChmodCall, EPERM);
        std::fputs(detailsOf(errorOf([] { create({}); })).c_str(), stdout);
    });

    EXPECT_EQ("action=CDaemonController::createInitScript func=chmod path=/etc/init.d/app code=1",
              outcome.output);
    EXPECT_EQ(golden({}, {}), readFile("/etc/init.d/app"));
}

} // namespace test
