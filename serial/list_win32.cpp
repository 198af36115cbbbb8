#include "core/guard.h"
#include "core/list.h"
#include "serial/port_win32.h"
#include "serial/serial.h"

#include <array>
#include <cstddef>

namespace {

constexpr char PORTS_KEY[] = "HARDWARE\\DEVICEMAP\\SERIALCOMM\\";
constexpr std::size_t TEXT_SIZE = 256;

/// The registry key that describes the ports, closed with the object.
class PortsKey {
public:
    PortsKey()
        : m_open(RegOpenKeyExA(HKEY_LOCAL_MACHINE, PORTS_KEY, 0, KEY_READ, &m_key) ==
                 ERROR_SUCCESS) {}
    ~PortsKey() {
        if (m_open) {
            RegCloseKey(m_key);
        }
    }
    PortsKey(const PortsKey &) = delete;
    PortsKey &operator=(const PortsKey &) = delete;

    bool isOpen() const { return m_open; }

    /// False when there is no such value.
    bool value(DWORD index, std::array<char, TEXT_SIZE> &data) const {
        std::array<char, TEXT_SIZE> name;
        DWORD nameSize = TEXT_SIZE;
        // The registry does not promise a NUL: the last byte stays one.
        DWORD dataSize = TEXT_SIZE - 1;
        data.fill('\0');
        return RegEnumValueA(m_key, index, name.data(), &nameSize, nullptr, nullptr,
                             reinterpret_cast<BYTE *>(data.data()), &dataSize) == ERROR_SUCCESS;
    }

    DWORD count() const {
        std::array<char, TEXT_SIZE> ignored;
        DWORD values = 0;
        while (value(values, ignored)) {
            ++values;
        }
        return values;
    }

private:
    HKEY m_key = nullptr;
    bool m_open;
};

} // namespace

void pcl_serial_list(PclList *out) {
    pcl_guarded([&] {
        if (out == nullptr) {
            pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'out' is NULL");
            return;
        }
        pcl_list_clear(out);
        const PortsKey key;
        const DWORD count = key.isOpen() ? key.count() : 0;
        for (DWORD index = 0; index < count; ++index) {
            std::array<char, TEXT_SIZE> name;
            if (key.value(index, name)) {
                pcl_list_append(out, name.data());
            }
        }
    });
}
