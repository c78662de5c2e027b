#pragma once

/// The whole daemon framework, and the foundation on which it stands.

#include <fdn/fdn.h>

#include <dmn/CDaemon.h>
#include <dmn/CDaemonController.h>
#include <dmn/CDaemonEntry.h>
#include <dmn/CDaemonInfo.h>
#include <dmn/CDaemonManager.h>
#include <dmn/CDaemonStarter.h>
#include <dmn/CDaemonStopper.h>
#include <dmn/CService.h>
#include <dmn/CServiceEntry.h>
#include <dmn/CommandDescription.h>
#include <dmn/DaemonFinding.h>
#include <dmn/DaemonSettings.h>
#include <dmn/Export.h>
#include <dmn/IDaemonEntry.h>
#include <dmn/IDaemonOperationProgress.h>
#include <dmn/bootSequence.h>
#include <dmn/daemonChecks.h>
#include <dmn/daemonStatus.h>
#include <dmn/installedDaemons.h>
#include <dmn/runService.h>
#include <dmn/version.h>
