#pragma once

#include "core/guard.h"
#include "core/memory.h"

#include <memory>

/// Holds a handle inside a function body and releases it with its destroy operation, which takes
/// the address of the caller's variable. A failure of the release is dropped: it must not replace
/// the one that is on its way. Whoever wants to hear of it calls the destroy operation itself.
template <typename T, void (*Destroy)(T **)>
struct PclDestroyer {
    void operator()(T *handle) const {
        static_cast<void>(pcl_attempt([&] { Destroy(&handle); }));
    }
};

template <typename T, void (*Destroy)(T **)>
using PclOwned = std::unique_ptr<T, PclDestroyer<T, Destroy>>;

/// A handle that lives in a function body: made with the body, released at its end. It stands for
/// the handle wherever one is asked for. To be used with a frame open, where a handle that cannot
/// be made ends the body.
template <typename T, T *(*Create)(), void (*Destroy)(T **)>
class PclLocal {
public:
    PclLocal() : m_handle(Create()) {}
    ~PclLocal() { PclDestroyer<T, Destroy>()(m_handle); }
    PclLocal(const PclLocal &) = delete;
    PclLocal &operator=(const PclLocal &) = delete;

    operator T *() const { return m_handle; }

private:
    T *m_handle;
};

struct PclBlockFree {
    void operator()(void *block) const { pcl_free(block); }
};

/// Holds a block of pcl_malloc.
template <typename T>
using PclBlock = std::unique_ptr<T, PclBlockFree>;
