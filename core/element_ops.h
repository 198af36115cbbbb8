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
        : m_element(original == nullptr ? nullptr : copy(original)), m_del(del) {}
    ~PclElementCopy() { pcl_element_delete(m_del, m_element); }
    PclElementCopy(const PclElementCopy &) = delete;
    PclElementCopy &operator=(const PclElementCopy &) = delete;

    void *get() const { return m_element; }

    void *release() {
        void *element = m_element;
        m_element = nullptr;
        return element;
    }

private:
    void *m_element;
    PclDeleteFn m_del;
};
