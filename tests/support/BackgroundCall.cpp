#include "support/BackgroundCall.h"

#include "support/await.h"

#include <unistd.h>

namespace test {

BackgroundCall::BackgroundCall(std::function<void()> const& action)
    : m_thread([this, action] {
          m_id = gettid();
          action();
          m_returned = true;
      }) {}

BackgroundCall::~BackgroundCall() {
    m_thread.join();
}

bool BackgroundCall::getsBlocked() const {
    await([this] { return m_id != 0; });
    awaitSleep(m_id);
    return !m_returned;
}

} // namespace test
