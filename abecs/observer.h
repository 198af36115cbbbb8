#pragma once

#include "abecs/packet.h"

#include <array>
#include <cstddef>
#include <cstdint>

/// One hook for whoever wants to watch the line: a trace, a progress display, a test. It is off
/// until an observer is set and costs nothing then.

enum AbecsLinkEvent_e {
    ABECS_LINK_FRAME,    ///< a whole frame
    ABECS_LINK_DAMAGED,  ///< a received frame that broke off or whose check value does not match
    ABECS_LINK_BYTE,     ///< one byte outside a frame: a control byte, or what came in its place
    ABECS_LINK_SILENCE,  ///< nothing came in time where a byte was expected
    ABECS_LINK_DISCARDED ///< bytes that were drained from the line
};

enum AbecsLinkDirection_e { ABECS_LINK_TO_DEVICE, ABECS_LINK_FROM_DEVICE };

enum AbecsLinkFraming_e { ABECS_LINK_STANDARD, ABECS_LINK_EXTENSION };

/// What was seen. The bytes are valid during the call only.
struct AbecsLinkEvent {
    AbecsLinkEvent_e kind;
    AbecsLinkDirection_e direction;
    AbecsLinkFraming_e framing;
    bool encrypted;
    const std::uint8_t *wire; ///< as on the line
    std::size_t wireLength;
    const std::uint8_t *body; ///< plain body of a frame; null when it could not be told
    std::size_t bodyLength;
};

/// Called on the thread that uses the line, right after the event. Must not raise, nor call what of
/// the library may raise or use the line.
using AbecsLinkObserver = void (*)(void *context, const AbecsLinkEvent *event);

/// Sets the observer of the process; null switches it off. Not while a command is running.
void abecs_link_set_observer(AbecsLinkObserver observer, void *context);

bool abecs_link_is_observed();

/// Gathers bytes of the line for the observer, and drops them when there is none.
class AbecsWireRecord {
public:
    AbecsWireRecord() : m_observed(abecs_link_is_observed()) {}

    void add(std::uint8_t byte) {
        if (m_observed && m_length < m_bytes.size()) {
            m_bytes[m_length++] = byte;
        }
    }
    void clear() { m_length = 0; }
    bool observed() const { return m_observed; }
    const std::uint8_t *data() const { return m_bytes.data(); }
    std::size_t length() const { return m_length; }

private:
    // A body every byte of which is stuffed, and what stands around it.
    static constexpr std::size_t CAPACITY = std::size_t{2} * ABECS_PACKET_CAPACITY + 8;

    bool m_observed;
    std::size_t m_length = 0;
    std::array<std::uint8_t, CAPACITY> m_bytes;
};

/// Tell the observer. `body` is the packet whose unread bytes are the plain body, or null.
void abecs_observe_frame(AbecsLinkEvent_e kind, AbecsLinkDirection_e direction,
                         AbecsLinkFraming_e framing, bool encrypted, const AbecsWireRecord &wire,
                         AbecsPacket *body);
void abecs_observe_byte(AbecsLinkDirection_e direction, AbecsLinkFraming_e framing,
                        std::uint8_t byte);
void abecs_observe_silence(AbecsLinkFraming_e framing);
void abecs_observe_discarded(AbecsLinkFraming_e framing, const AbecsWireRecord &wire);
