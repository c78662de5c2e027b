#pragma once

#include <fdn/CBase.h>

#include <cstddef>

namespace fdn {

/// The caller's end of a pipe to the standard input, or from the standard output or error, of a program
/// that forkAndExec() has started:
///
///     CIPCConnectionToSubProcess output;
///     forkAndExec(command, nullptr, ForkExecLevel::Child, Path(), nullptr, &output, nullptr, nullptr);
///     std::size_t const count = output.read(buffer, sizeof(buffer));
///
/// It is unconnected until the program has been started. It owns its end, which the programs that this
/// process starts do not inherit. One thread at a time may use it, and only for the direction that the
/// stream has: read() from an output or error, write() to an input.
class FDN_EXPORT CIPCConnectionToSubProcess : public CBase {
public:
    CIPCConnectionToSubProcess() = default;
    CIPCConnectionToSubProcess(CIPCConnectionToSubProcess const&) = delete;
    CIPCConnectionToSubProcess& operator=(CIPCConnectionToSubProcess const&) = delete;

    /// Closes the connection.
    ~CIPCConnectionToSubProcess() override;

    /// Takes over the descriptor of a pipe's end; an earlier connection is closed. forkAndExec() calls it.
    void attach(int descriptor);

    /// Whether there is a pipe to use: from attach() to close(), also when the program has ended.
    bool isConnected() const { return m_descriptor >= 0; }

    /// Reads what is there, but at most `size` bytes, and returns how many; waits while there are none.
    /// Returns 0 when no more can come: the program, and every other one that it has handed the stream to,
    /// has closed it or ended. Throws CError on failure, and when unconnected.
    std::size_t read(void* buffer, std::size_t size);

    /// Writes all the bytes; waits while the pipe is full. Throws CError with the code EPIPE when the
    /// program reads no more (SIGPIPE is not raised), on other failures, and when unconnected; some of the
    /// bytes may be written then.
    void write(void const* data, std::size_t size);

    /// Ends the connection: the program reads the end of the file, or can write no more (POSIX pipe).
    /// Nothing when unconnected.
    void close() noexcept;

private:
    int m_descriptor = -1;
};

} // namespace fdn
