#pragma once

#include "addin/host/HostFolder.h"

#include <QtGlobal>

#include <algorithm>
#include <functional>
#include <memory>
#include <vector>

namespace velmora {

// The walks in progress over one folder's items, for hosts that keep their
// items as a list: each walk has its own position, and a removal from the
// list slides the positions after it (see ItemWalk for why).
class PositionalWalks {
public:
    // `count` and `itemAt` (0-based) read the folder's list as it is now.
    PositionalWalks(std::function<qsizetype()> count, std::function<MailItemRef(qsizetype)> itemAt)
        : m_count(std::move(count)), m_itemAt(std::move(itemAt)) {}

    std::unique_ptr<ItemWalk> newWalk() {
        std::erase_if(m_positions, [](const auto& p) { return p.expired(); });
        auto position = std::make_shared<qsizetype>(-1);
        m_positions.push_back(position);
        return std::make_unique<Walk>(*this, std::move(position));
    }

    // The item at list index `at` has left the list.
    void removed(qsizetype at) {
        for (const auto& weak : m_positions) {
            if (const auto position = weak.lock(); position && at < *position)
                --*position;
        }
    }

    // An item has been put into the list at index `at`: the items from `at`
    // on slide up one place. A walk standing at `at` now stands on the new
    // item, as it stood on the one a removed(at) took away.
    void inserted(qsizetype at) {
        for (const auto& weak : m_positions) {
            if (const auto position = weak.lock(); position && at < *position)
                ++*position;
        }
    }

private:
    class Walk final : public ItemWalk {
    public:
        Walk(PositionalWalks& walks, std::shared_ptr<qsizetype> position)
            : m_walks(walks), m_position(std::move(position)) {}
        MailItemRef GetFirst() override {
            *m_position = 0;
            return at();
        }
        MailItemRef GetNext() override {
            if (*m_position < 0)
                return nullptr;
            ++*m_position;
            return at();
        }

    private:
        MailItemRef at() const {
            return *m_position < m_walks.m_count() ? m_walks.m_itemAt(*m_position) : nullptr;
        }
        PositionalWalks& m_walks;
        std::shared_ptr<qsizetype> m_position;
    };

    std::function<qsizetype()> m_count;
    std::function<MailItemRef(qsizetype)> m_itemAt;
    std::vector<std::weak_ptr<qsizetype>> m_positions;
};

} // namespace velmora
