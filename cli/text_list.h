#pragma once

#include "cli/problem.h"
#include "core/list.h"
#include "core/owned.h"
#include "core/string_list.h"

#include <string>
#include <vector>

namespace cli {

/// A list of texts as the library takes and fills it.
class TextList {
public:
    TextList() {
        callLibrary(Stage::Command, [&] { m_list.reset(pcl_string_list_create()); });
    }

    PclList *get() const { return m_list.get(); }

    void add(const std::string &text) {
        callLibrary(Stage::Command, [&] { pcl_list_append(m_list.get(), text.c_str()); });
    }

    std::vector<std::string> texts() const {
        std::vector<std::string> texts;
        for (const PclListNode *node = m_list->head; node != nullptr; node = node->next) {
            texts.emplace_back(node->item == nullptr ? "" : static_cast<const char *>(node->item));
        }
        return texts;
    }

private:
    PclOwned<PclList, pcl_list_destroy> m_list;
};

} // namespace cli
