#include "components/rf_item.h"

#include <algorithm>

namespace Refloom {

rfItem& rfItem::rootItem() {
    static rfItem root(rfRules::mainRules(), -1, nullptr);
    return root;
}

rfItem::rfItem(rfRules& rules, int rule, rfItem* parent) : m_rules(rules), m_rule(rule), m_parent(parent) {}

std::vector<std::unique_ptr<rfItem>> const& rfItem::children() {
    if (m_noChildren || m_built) return m_children;
    QByteArray const packed = isRoot() ? m_rules.getRootItemChildren() : m_rules.getItemChildren(m_rule);
    if (packed.isEmpty()) {
        m_noChildren = true;  // not asked again
        return m_children;
    }
    for (int rule : rfRules::unpack(packed)) m_children.push_back(std::make_unique<rfItem>(m_rules, rule, this));
    m_built = true;
    return m_children;
}

rfItem* rfItem::childAtIndex(int index) {
    auto const& list = children();
    return index >= 0 && size_t(index) < list.size() ? list[size_t(index)].get() : nullptr;
}

int rfItem::numberOfChildren() { return m_noChildren ? 0 : int(children().size()); }

int rfItem::indexInParent() const {
    if (!m_parent) return 0;
    auto const& siblings = m_parent->m_children;
    auto found = std::find_if(siblings.begin(), siblings.end(), [this](auto const& child) { return child.get() == this; });
    return int(found - siblings.begin());
}

int rfItem::determineState() {
    auto const& list = children();
    if (list.empty()) return getItemState();
    int const first = list.front()->getItemState();
    for (auto const& child : list)
        if (child->getItemState() != first) return item_mixed;
    return first;
}

bool rfItem::click(bool on) {
    if (getItemState() == item_unavailable) return false;
    setItemState(on ? item_installed : item_absent);
    if (isRoot()) return true;
    if (!m_parent->isRoot()) {
        m_parent->setItemState(m_parent->determineState());
    } else {
        // A category overrides its members, the unavailable ones included. Intended.
        for (auto const& child : children()) child->setItemState(getItemState());
    }
    return true;
}

} // namespace Refloom
