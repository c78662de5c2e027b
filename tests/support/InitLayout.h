#pragma once

#include "support/PrivateRoot.h"

namespace test {

/// Resets the private root's folders for init scripts and run levels: /etc/init.d and /etc/rc0.d to
/// /etc/rc6.d, all empty, and no /etc/rc.d. Throws std::logic_error outside a private root.
void resetInitLayout();

/// The base of tests that begin with such folders. `Base` must skip the test outside a private root.
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
