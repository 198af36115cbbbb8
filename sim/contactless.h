#pragma once

#include "sim/mifare_card.h"

namespace sim {

// The contactless reader with the card that the customer has.
class Contactless {
public:
    explicit Contactless(const MifareCard &card, bool held, unsigned misses)
        : card_(card), held_(held), misses_(misses) {}

    void hold() { held_ = true; }
    void take() {
        held_ = false;
        card_.select();
    }
    // The reader has no power: the card forgets what was proved to it.
    void lose_field() { card_.select(); }
    bool held() const { return held_; }

    // Looks for a card. Returns null when there is none, or when the scenario lets it be missed.
    MifareCard *activate() {
        if (misses_ > 0) {
            --misses_;
            return nullptr;
        }
        card_.select();
        return current();
    }
    // The card in the field, or null.
    MifareCard *current() { return held_ ? &card_ : nullptr; }
    const MifareCard &card() const { return card_; }

private:
    MifareCard card_;
    bool held_;
    unsigned misses_;
};

} // namespace sim
