#pragma once

#include <fdn/system/Descriptor.h>

#include <functional>
#include <type_traits>

namespace fdn {

/// Has a process of its own find an answer, for so many milliseconds at most, and returns whether it has
/// come. Whoever asks a file system that never answers waits for ever and cannot be killed: this process must
/// not be the one.
///
/// Nothing but async-signal-safe calls may be made to find the answer (POSIX.1-2017, 2.4.3), because other
/// threads of this process may hold locks. A process that is stuck is not waited for; it is a zombie from the
/// moment when its file system answers until this one ends.
bool askInChildProcess(int patience, void* answer, std::size_t size, std::function<void()> const& find);

/// The same for an answer that `find` returns.
template <class Answer, class Find>
bool askInChildProcess(int patience, Answer& answer, Find const& find) {
    static_assert(std::is_trivially_copyable_v<Answer>);
    return askInChildProcess(patience, &answer, sizeof answer, [&] { answer = find(); });
}

} // namespace fdn
