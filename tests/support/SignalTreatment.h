#pragma once

#include <signal.h>

namespace test {

/// Sets how this process treats a signal: by a handler, SIG_IGN or SIG_DFL. The destructor restores the
/// previous treatment. Threads share it, so tests must not change it in two of them.
class SignalTreatment {
public:
    SignalTreatment(int signal, void (*treatment)(int))
        : m_signal(signal), m_previous(::signal(signal, treatment)) {}

    SignalTreatment(SignalTreatment const&) = delete;
    SignalTreatment& operator=(SignalTreatment const&) = delete;

    ~SignalTreatment() { ::signal(m_signal, m_previous); }

private:
    int m_signal;
    void (*m_previous)(int);
};

} // namespace test
