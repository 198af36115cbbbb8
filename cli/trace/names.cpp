#include "cli/trace/names.h"

#include "abecs/rsp_datid.h"
#include "abecs/rsp_stat.h"
#include "core/guard.h"

#include <string_view>

namespace cli {

namespace {

constexpr std::int32_t STATUS_END = 1000;
constexpr std::string_view IDENTIFIER_PREFIX = "ABECS_RSP_DATID_";

struct Range {
    unsigned first;
    unsigned last;
};

// Where the catalogue has identifiers.
constexpr Range IDENTIFIERS[] = {{0x8000, 0x80FF}, {0x9000, 0x93FF}};

} // namespace

Names::Names() {
    for (std::int32_t number = 0; number < STATUS_END; ++number) {
        static_cast<void>(pcl_attempt([&] {
            const char *name = abecsRspStatName(static_cast<AbecsRspStat_e>(number));
            m_statuses.emplace(number, name);
        }));
    }
    for (const Range &range : IDENTIFIERS) {
        for (unsigned id = range.first; id <= range.last; ++id) {
            static_cast<void>(pcl_attempt([&] {
                const std::string_view name = abecsRspDatIdName(static_cast<std::uint16_t>(id));
                m_identifiers.emplace(id, name.substr(IDENTIFIER_PREFIX.size()));
            }));
        }
    }
}

std::string Names::status(std::int32_t number) const {
    const auto found = m_statuses.find(number);
    return found == m_statuses.end() ? "" : found->second;
}

std::string Names::identifier(std::uint16_t id) const {
    const auto found = m_identifiers.find(id);
    return found == m_identifiers.end() ? "unknown" : found->second;
}

} // namespace cli
