#pragma once

/// The whole foundation library.

#include <fdn/CBase.h>
#include <fdn/CError.h>
#include <fdn/CExecCommand.h>
#include <fdn/CFdnInit.h>
#include <fdn/CFileRef.h>
#include <fdn/CFileSystemIterator.h>
#include <fdn/CIPCConnectionToSubProcess.h>
#include <fdn/CImpersonateInfo.h>
#include <fdn/CMutex.h>
#include <fdn/COnDemandFileInfo.h>
#include <fdn/CPIDFile.h>
#include <fdn/CProcessHandle.h>
#include <fdn/CProps.h>
#include <fdn/CSystemAccountManager.h>
#include <fdn/CSystemPaths.h>
#include <fdn/CSystemSignalReceiver.h>
#include <fdn/CThread.h>
#include <fdn/CTime.h>
#include <fdn/CXMLLog.h>
#include <fdn/Export.h>
#include <fdn/IBase.h>
#include <fdn/P.h>
#include <fdn/Path.h>
#include <fdn/String.h>
#include <fdn/TBuffer.h>
#include <fdn/TSafeGlobalPointer.h>
#include <fdn/containers.h>
#include <fdn/files.h>
#include <fdn/log.h>
#include <fdn/programs.h>
#include <fdn/sysError.h>
#include <fdn/uri.h>
