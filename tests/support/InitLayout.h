#pragma once

#include "support/PrivateRoot.h"

namespace test {

/// Makes the private root's folders for init scripts and run levels as they are after its making: /etc/init.d
/// and /etc/rc0.d to /etc/rc6.d, all empty, and no /etc/rc.d. Throws outside a private root.
void resetInitLayout();

/// The base of tests that begin with such folders. `Base` asks for a private root.
template <class Base>
class InitLayoutFixture : public Base {
protected:
    void SetUp() override {
        Base::SetUp();
        if (isInPrivateRoot())
            resetInitLayout();
    }
};

} // namespace test
