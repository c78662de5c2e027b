#include <dmnctl/boot/boot.h>

#include <dmnctl/boot/BootLock.h>
#include <dmnctl/boot/dependencyOrder.h>
#include <dmnctl/boot/systemd.h>
#include <dmnctl/commandline/exitStatus.h>
#include <dmnctl/selection/selection.h>
#include <dmnctl/show/Notices.h>
#include <dmnctl/show/text.h>

#include <dmn/CDaemonController.h>
#include <dmn/bootSequence.h>
#include <dmn/daemonStatus.h>
#include <dmn/installedDaemons.h>

#include <fdn/CError.h>
#include <fdn/CSystemAccountManager.h>

#include <fmt/core.h>

#include <sys/stat.h>

namespace dmnctl {

namespace {

using dmn::BootSequence;

constexpr int kStarts = 0;
constexpr int kDoesNotStart = 3;

fdn::CError composeNothingStarts() {
    return fdn::CError("Nothing starts daemons at boot on this machine: it has no init that does, like most "
                       "containers.");
}

// Without a unit of its own, a daemon that does not start has nothing to be named.
std::string describeUnit(fdn::String const& id) {
    fdn::String const unit = dmn::findSystemdUnit(id).getText();
    if (!unit.empty())
        return "systemd, by " + toPrintable(unit);
    return dmn::startsAtBoot(id, BootSequence::Systemd) ? "systemd, by its init script" : "systemd";
}

// How the machine starts the daemon, or would.
std::string describe(BootSequence sequence, fdn::String const& id) {
    switch (sequence) {
    case BootSequence::LinkOrder:
        return "links in their order";
    case BootSequence::DependencyOrder:
        return "order of insserv";
    case BootSequence::Systemd:
        return describeUnit(id);
    case BootSequence::None:
        break;
    }
    return "nothing on this machine starts daemons";
}

std::string describeState(fdn::String const& id, BootSequence sequence) {
    bool const starts = dmn::startsAtBoot(id, sequence);
    return fmt::format("{} {} at boot ({}).", toPrintable(id), starts ? "starts" : "does not start",
                       describe(sequence, id));
}

void sayIfUnitIsOutOfDate(fdn::String const& id) {
    if (isUnitOutOfDate(id, dmn::readDaemonSettings(id)))
        print(fmt::format("Its unit is out of date: the daemon has been installed anew since. To renew it: "
                          "dmnctl boot {} on\n",
                          toPrintable(id)));
}

int show(fdn::String const& id) {
    BootSequence const sequence = dmn::detectBootSequence();
    print(describeState(id, sequence) + "\n");
    if (sequence == BootSequence::Systemd)
        sayIfUnitIsOutOfDate(id);
    return dmn::startsAtBoot(id, sequence) ? kStarts : kDoesNotStart;
}

void requireRoot() {
    if (!fdn::CSystemAccountManager::get().isProcessUserAdmin())
        throw fdn::CError("Only root can change what starts at boot.");
}

// The daemon is left alone: this command is about boots.
void sayIfRunsOutsideUnit(fdn::String const& id, dmn::DaemonSettings const& settings, Notices& notices) {
    if (!dmn::isSystemdRunning())
        return;
    dmn::DaemonStatus const status = dmn::getDaemonStatus(id, settings.controlFolder);
    if (status.process == 0 || isInUnit(id, status.process))
        return;
    notices.say(fmt::format(
        "{0} runs outside its unit (process {1}). systemd takes it over at the next boot or, now, "
        "by: {2} stop && systemctl start {0}",
        toPrintable(id), status.process, toPrintable(dmn::CDaemonController::getInitScriptPath(id))));
}

void say(Notices& notices, char const* action, fdn::TArray<fdn::Path> const& links) {
    for (fdn::Path const& link : links)
        notices.say(fmt::format("{} {}.", action, toPrintable(link)));
}

void bringAbout(fdn::String const& id, BootSequence sequence, Notices& notices) {
    dmn::DaemonSettings const settings = dmn::readDaemonSettings(id);
    switch (sequence) {
    case BootSequence::LinkOrder:
        return say(notices, "Made the link", dmn::createStartLinks(id));
    case BootSequence::DependencyOrder:
        return putInOrder(id, settings, notices);
    case BootSequence::Systemd:
        enableUnit(id, settings, notices);
        return sayIfRunsOutsideUnit(id, settings, notices);
    case BootSequence::None:
        throw composeNothingStarts();
    }
}

void takeBack(fdn::String const& id, BootSequence sequence, Notices& notices) {
    switch (sequence) {
    case BootSequence::LinkOrder:
        return say(notices, "Removed the link", dmn::removeStartLinks(id));
    case BootSequence::DependencyOrder:
        return takeOutOfOrder(id, notices);
    case BootSequence::Systemd:
        return disableUnit(id, notices);
    case BootSequence::None:
        break;
    }
}

void turnOn(fdn::String const& id, Notices& notices) {
    BootLock const lock;
    BootSequence const sequence = dmn::detectBootSequence();
    bringAbout(id, sequence, notices);
    notices.say(describeState(id, sequence));
    if (!dmn::startsAtBoot(id, sequence))
        throw fdn::CError("The machine still does not start '" + id + "' at boot. To see why: dmnctl check " +
                          id);
}

// What a daemon has left that was uninstalled since.
bool hasLeftSomething(fdn::String const& id) {
    return hasWrittenUnit(id) || hasOwnOverride(id);
}

void turnOff(fdn::String const& id, Notices& notices) {
    BootLock const lock;
    BootSequence const sequence = dmn::detectBootSequence();
    takeBack(id, sequence, notices);
    notices.say(describeState(id, sequence));
    if (dmn::startsAtBoot(id, sequence))
        throw fdn::CError("The machine still starts '" + id + "' at boot.");
}

int change(fdn::String const& id, BootCommand::Wish wish) {
    requireRoot();
    // What is written here is for everybody to read.
    umask(S_IWGRP | S_IWOTH);
    Notices notices;
    if (wish == BootCommand::Wish::On)
        turnOn(id, notices);
    else
        turnOff(id, notices);
    return notices.areSaid() ? kDone : kFailed;
}

} // namespace

int boot(BootCommand const& command) {
    fdn::String const id = fromUTF8(command.id);
    bool const isCleaningUp = command.wish == BootCommand::Wish::Off && hasLeftSomething(id);
    if (!isCleaningUp && !selectDaemons({{command.id}}).isComplete)
        return kFailed;
    if (command.wish == BootCommand::Wish::Show)
        return show(id);
    return change(id, command.wish);
}

bool isRunBySystemd(fdn::String const& id) {
    return dmn::isSystemdRunning() && !dmn::findSystemdUnit(id).getText().empty();
}

} // namespace dmnctl
