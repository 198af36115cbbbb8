#pragma once

#include "core/element.h"

/// What the containers do with single elements. The element functions never see a null.

inline bool pcl_elements_equal(PclEqualsFn equals, const void *left, const void *right) {
    if (left == nullptr || right == nullptr) {
        return left == right;
    }
    return equals(left, right);
}

inline void pcl_element_delete(PclDeleteFn del, void *element) {
    if (element != nullptr) {
        del(element);
    }
}

/// Holds a copy of an element until the container has taken it in.
class PclElementCopy {
public:
    PclElementCopy(const void *original, PclCopyFn copy, PclDeleteFn del)
        : element_(original == nullptr ? nullptr : copy(original)), del_(del) {}
    ~PclElementCopy() { pcl_element_delete(del_, element_); }
    PclElementCopy(const PclElementCopy &) = delete;
    PclElementCopy &operator=(const PclElementCopy &) = delete;

    void *get() const { return element_; }

    void *release() {
        void *element = element_;
        element_ = nullptr;
        return element;
    }

private:
    void *element_;
    PclDeleteFn del_;
};
