#include <fdn/accounts/AccountLookUp.h>

namespace fdn {

std::string toAccountName(String const& name) {
    if (name.find(L'\0') != String::npos)
        return std::string();
    return name.toCP().data();
}

} // namespace fdn
