#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace peer {

using Bytes = std::vector<std::uint8_t>;

/// Bytes from text, for bodies written as they travel.
Bytes bytes(const std::string &text);
Bytes operator+(Bytes left, const Bytes &right);
std::string hex(const Bytes &bytes);

/// The far end of a line, played byte by byte: a pseudo terminal whose master side is worked by a
/// script on a thread of its own. It knows nothing of any protocol, so that the bytes in a test are
/// the bytes on the line.
class Peer {
public:
    Peer();
    ~Peer();
    Peer(const Peer &) = delete;
    Peer &operator=(const Peer &) = delete;

    /// The name to open.
    const std::string &port() const { return m_port; }

    /// Runs the script until it ends; what it throws is rethrown by finish().
    void play(std::function<void(Peer &)> script);
    /// Waits for the script; call it when the library's call is over.
    void finish();

    /// How many bytes have been sent to this end and not read by a script.
    std::size_t waiting() const;

    // For scripts.

    /// Reads exactly this many bytes; throws after 15 s without them.
    Bytes read(std::size_t count);
    /// Throws unless exactly these bytes come next.
    void expect(const Bytes &expected);
    /// Throws when any byte comes within the time.
    void expectSilence(std::chrono::milliseconds time);
    void write(const Bytes &bytes);
    void pause(std::chrono::milliseconds time);
    /// The line hangs up.
    void hangUp();

private:
    bool readable(std::chrono::milliseconds time);

    int m_master = -1;
    int m_slave = -1;
    std::string m_port;
    std::thread m_thread;
    std::exception_ptr m_failure;
};

} // namespace peer
