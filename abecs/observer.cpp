#include "abecs/observer.h"

#include "core/memory.h"

#include <atomic>

namespace {

std::atomic<AbecsLinkObserver> currentObserver{nullptr};
std::atomic<void *> currentContext{nullptr};

void notify(const AbecsLinkEvent &event) {
    if (const AbecsLinkObserver observer = currentObserver.load(); observer != nullptr) {
        observer(currentContext.load(), &event);
    }
}

} // namespace

void abecs_link_set_observer(AbecsLinkObserver observer, void *context) {
    currentObserver.store(nullptr);
    currentContext.store(context);
    currentObserver.store(observer);
}

bool abecs_link_is_observed() {
    return currentObserver.load() != nullptr;
}

void abecs_observe_frame(AbecsLinkEvent_e kind, AbecsLinkDirection_e direction,
                         AbecsLinkFraming_e framing, bool encrypted, const AbecsWireRecord &wire,
                         AbecsPacket *body) {
    if (!wire.observed()) {
        return;
    }
    AbecsLinkEvent event{kind,        direction,     framing, encrypted,
                         wire.data(), wire.length(), nullptr, 0};
    if (body == nullptr) {
        notify(event);
        return;
    }
    std::array<std::uint8_t, ABECS_PACKET_CAPACITY> plain;
    AbecsPacketMark start;
    abecsPacketMark(body, &start);
    event.bodyLength = abecsPacketAvailable(body);
    abecsFieldGetBytes(body, plain.data(), plain.size(), event.bodyLength);
    abecsPacketRestore(body, &start);
    event.body = plain.data();
    notify(event);
    pcl_wipe(plain.data(), event.bodyLength);
}

void abecs_observe_byte(AbecsLinkDirection_e direction, AbecsLinkFraming_e framing,
                        std::uint8_t byte) {
    notify({ABECS_LINK_BYTE, direction, framing, false, &byte, 1, nullptr, 0});
}

void abecs_observe_silence(AbecsLinkFraming_e framing) {
    notify({ABECS_LINK_SILENCE, ABECS_LINK_FROM_DEVICE, framing, false, nullptr, 0, nullptr, 0});
}

void abecs_observe_discarded(AbecsLinkFraming_e framing, const AbecsWireRecord &wire) {
    if (wire.length() > 0) {
        notify({ABECS_LINK_DISCARDED, ABECS_LINK_FROM_DEVICE, framing, false, wire.data(),
                wire.length(), nullptr, 0});
    }
}
