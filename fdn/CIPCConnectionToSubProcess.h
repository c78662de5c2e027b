#pragma once

#include <fdn/CBase.h>

#include <cstddef>

namespace fdn {

/// The caller's end of a pipe to the standard input, or from the standard output or error, of a program that
/// forkAndExec() has started:
///
///     CIPCConnectionToSubProcess output;
///     forkAndExec(command, nullptr, ForkExecLevel::Child, Path(), nullptr, &output, nullptr, nullptr);
///     std::size_t const count = output.read(buffer, sizeof(buffer));
///
/// It is unconnected until the program has been started. It owns its end, which programs that this process
/// starts do not inherit. One thread at a time may use it, and only in the stream's direction: read() from an
/// output or error, write() to an input.
class FDN_EXPORT CIPCConnectionToSubProcess : public CBase {
public:
    CIPCConnectionToSubProcess() = default;
    CIPCConnectionToSubProcess(CIPCConnectionToSubProcess const&) = delete;
    CIPCConnectionToSubProcess& operator=(CIPCConnectionToSubProcess const&) = delete;

    /// Closes the connection.
    ~CIPCConnectionToSubProcess() override;

    /// Takes over the descriptor of a pipe's end and closes an earlier connection. forkAndExec() calls it.
    void attach(int descriptor);

    /// Whether there is a pipe to use: from attach() to close(), even after the program has ended.
    bool isConnected() const { return m_descriptor >= 0; }

    /// Blocks until there is something to read, reads at most `size` bytes of it and returns their number.
    /// Returns 0 when no more can come: the program, and every process that it has passed the stream to, has
    /// closed it or ended. Throws CError on failure, and when unconnected (EBADF).
    std::size_t read(void* buffer, std::size_t size);

    /// Writes all the bytes; blocks while the pipe is full. Throws CError when the program reads no more
    /// (EPIPE; SIGPIPE is not raised), on other failures, and when unconnected (EBADF); some of the bytes may
    /// have been written then.
    void write(void const* data, std::size_t size);

    /// Ends the connection: the program then reads the end of the file, or cannot write any more (POSIX
    /// pipe). Does nothing when unconnected.
    void close() noexcept;

private:
    int m_descriptor = -1; // unconnected

    [[maybe_unused]] void* m_reserved = nullptr; ///< room for later versions of this class
};

} // namespace fdn
