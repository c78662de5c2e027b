#pragma once

/// The whole daemon framework, and the foundation on which it stands.

#include <fdn/fdn.h>

#include <dmn/CDaemon.h>
#include <dmn/CDaemonController.h>
#include <dmn/CDaemonEntry.h>
#include <dmn/CDaemonInfo.h>
#include <dmn/CDaemonManager.h>
#include <dmn/Export.h>
#include <dmn/IDaemonEntry.h>
#include <dmn/IDaemonOperationProgress.h>
#include <dmn/version.h>
