#include <dmn/dmn.h>

#include <cstdio>
#include <filesystem>
#include <string>

void restart(fdn::String const& id) {
    dmn::CDaemonController controller(id, fdn::Path());
    controller.stop();
    if (!controller.waitStopped(10000))
        throw fdn::CError("'" + id + "' has not stopped within 10 seconds.");
    controller.start();
    if (controller.waitRunningAndReady(10000) == 0)
        throw fdn::CError("'" + id + "' has not come up within 10 seconds.");
}

fdn::String describe(fdn::String const& id) {
    dmn::CDaemonController controller(id, fdn::Path());
    if (!controller.isInstalled())
        return id + " is not installed.";
    int const pid = dmn::CDaemonController::getActivePID(controller.getControlFolder(), id);
    fdn::String const exePath = dmn::CDaemonController::getDaemonExePath(id).getText();
    if (pid < 1)
        return id + " (" + exePath + ") does not run.";
    return id + " (" + exePath + ") runs as process " + fdn::String::Format("%d", pid) + ".";
}

void install(fdn::String const& id, fdn::Path const& program, fdn::Path const& controlFolder) {
    dmn::CDaemonInfo info;
    info.displayName = id;
    info.startAtBoot = true;
    info.exePath = program;
    fdn::ensureFolderExists(controlFolder, 0755);
    dmn::CDaemonController::install(info, id, controlFolder, "", "", "", "");
}

void perform(std::string const& command, fdn::String const& id, char** rest) {
    if (command == "install")
        install(id, fdn::Path(rest[0]), fdn::Path(rest[1]));
    else if (command == "uninstall")
        dmn::CDaemonController(id, fdn::Path()).uninstall();
    else if (command == "restart")
        restart(id);
    std::puts(describe(id).toUTF8().c_str());
}

// Usage: controlling show|restart|uninstall ID, or controlling install ID PROGRAM FOLDER
int main(int argc, char** argv) {
    try {
        fdn::CFdnInit const foundation(true);
        std::string const command = argc < 3 ? "" : argv[1];
        if (command.empty() || (command == "install" && argc < 5))
            throw fdn::CError("An argument is missing.");
        perform(command, argv[2], argv + 3);
        return 0;
    } catch (std::exception const& e) {
        std::fprintf(stderr, "%s\n", e.what());
        return 1;
    }
}
