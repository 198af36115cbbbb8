#include "sim/web/feed.h"

#include <utility>

namespace sim::web {

void Feed::touch() {
    const std::lock_guard lock(mutex_);
    if (waker_) {
        waker_();
    }
}

void Feed::add(const WireFrame &frame) {
    const std::lock_guard lock(mutex_);
    if (!waker_) {
        return;
    }
    if (frames_.size() == capacity) {
        frames_.erase(frames_.begin(), frames_.begin() + capacity / 2);
    }
    frames_.push_back(frame);
    waker_();
}

std::vector<WireFrame> Feed::take() {
    const std::lock_guard lock(mutex_);
    return std::exchange(frames_, {});
}

void Feed::set_waker(std::function<void()> waker) {
    const std::lock_guard lock(mutex_);
    waker_ = std::move(waker);
}

} // namespace sim::web
