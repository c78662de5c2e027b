#pragma once

#include <fdn/CBase.h>
#include <fdn/String.h>
#include <fdn/containers.h>

namespace fdn {

/// The free-form properties of an error, ordered by name. The errors of system calls carry "func" (the
/// failing call), "action" (the operation during which it failed) and, where a file is concerned, "path".
class FDN_EXPORT CProps : public TMap<String, String>, public CBase {
public:
    using TMap<String, String>::TMap;
};

} // namespace fdn
