// A node of the component tree over the rules table: the root, its categories, and under each
// its members. Children are built on first use and kept; states live in the rules table, so
// the tree and the install driver always agree.
#pragma once

#include <QString>

#include <memory>
#include <vector>

#include "components/rf_rules.h"

namespace Refloom {

// Item states.
enum ItemState : int { item_installed = 1, item_absent = 0, item_unavailable = -1, item_mixed = -2 };

class rfItem {
public:
    // The process-wide root over the process-wide rules.
    static rfItem& rootItem();

    // `rule` -1 is a root.
    rfItem(rfRules& rules, int rule, rfItem* parent);

    int rule() const { return m_rule; }
    rfItem* parent() const { return m_parent; }
    bool isRoot() const { return m_rule < 0; }
    std::vector<std::unique_ptr<rfItem>> const& children();
    rfItem* childAtIndex(int index);
    int numberOfChildren();
    int indexInParent() const;

    QString getItemName() const { return m_rules.getItemName(m_rule); }
    QString getItemDescription() const { return m_rules.getItemDesc(m_rule); }
    int getItemState() const { return m_rules.getItemState(m_rule); }
    void setItemState(int state) { m_rules.setItemState(m_rule, state); }
    // A category's state from its children: theirs when they all agree, else mixed.
    int determineState();

    // A click on the item's check box with the box's new value. An unavailable item ignores it;
    // a member then updates its category; a category carries its state to every member, the
    // unavailable ones too. False when the click was ignored.
    bool click(bool on);

private:
    rfRules& m_rules;
    int m_rule;
    rfItem* m_parent;
    bool m_noChildren = false;
    bool m_built = false;
    std::vector<std::unique_ptr<rfItem>> m_children;
};

} // namespace Refloom
