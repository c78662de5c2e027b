#pragma once

#include <fdn/system/Descriptor.h>

#include <functional>
#include <type_traits>

namespace fdn {

/// Has a forked process find an answer, and waits for it for `patience` milliseconds at most. Returns whether
/// the answer came; otherwise it is undefined. A process that asks a file system which never answers waits
/// forever and cannot be killed, so this process must not ask itself.
///
/// `find` must make async-signal-safe calls only (POSIX.1-2017, 2.4.3), because other threads of this process
/// may hold locks. A child that is stuck is not waited for: once its file system answers, it is a zombie
/// until this process ends. Throws CError when no child or no pipe can be made.
bool askInChildProcess(int patience, void* answer, std::size_t size, std::function<void()> const& find);

/// The same for an answer that `find` returns. It must be trivially copyable, to pass through a pipe.
template <class Answer, class Find>
bool askInChildProcess(int patience, Answer& answer, Find const& find) {
    static_assert(std::is_trivially_copyable_v<Answer>);
    return askInChildProcess(patience, &answer, sizeof answer, [&] { answer = find(); });
}

} // namespace fdn
