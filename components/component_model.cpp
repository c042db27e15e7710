#include "components/component_model.h"

#include "wizard/state_tables.h"

namespace Refloom {
namespace {

// Each column's identifier, and its header as a person reads it.
char const* const kColumnNames[] = {"component", "installed", "info"};
char const* const kColumnHeaders[] = {QT_TRID_NOOP("Component"), QT_TRID_NOOP("Installed"), QT_TRID_NOOP("Description")};

} // namespace

rfItem* ComponentModel::itemAt(QModelIndex const& index) const {
    return index.isValid() ? static_cast<rfItem*>(index.internalPointer()) : &m_root;
}

QModelIndex ComponentModel::index(int row, int column, QModelIndex const& parent) const {
    if (column < 0 || column >= column_count || (parent.isValid() && parent.column() != 0)) return {};
    rfItem* child = itemAt(parent)->childAtIndex(row);
    return child ? createIndex(row, column, child) : QModelIndex();
}

QModelIndex ComponentModel::parent(QModelIndex const& child) const {
    rfItem* const parent = child.isValid() ? itemAt(child)->parent() : nullptr;
    if (!parent || parent->isRoot()) return {};
    return createIndex(parent->indexInParent(), 0, parent);
}

int ComponentModel::rowCount(QModelIndex const& parent) const {
    if (parent.isValid() && parent.column() != 0) return 0;
    return itemAt(parent)->numberOfChildren();
}

int ComponentModel::columnCount(QModelIndex const&) const { return column_count; }

QVariant ComponentModel::data(QModelIndex const& index, int role) const {
    if (!index.isValid()) return {};
    rfItem* const item = itemAt(index);
    int const state = item->getItemState();
    if (role == Qt::DisplayRole || role == Qt::EditRole) {
        switch (index.column()) {
        case component: return item->getItemName();
        // The box's value: shown by the box itself, so it has no text of its own.
        case installed: return role == Qt::EditRole ? QVariant(QString::fromLatin1(state != item_absent ? "1" : "0")) : QVariant();
        case info: return item->getItemDescription();
        }
    }
    // A description too long for its column shows whole when the pointer rests on the row.
    if (role == Qt::ToolTipRole && index.column() != installed)
        return QStringLiteral("%1: %2").arg(item->getItemName(), item->getItemDescription());
    if (role == Qt::CheckStateRole && index.column() == installed) {
        if (state == item_mixed) return Qt::PartiallyChecked;
        return state == item_installed ? Qt::Checked : Qt::Unchecked;
    }
    return {};
}

QVariant ComponentModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || section < 0 || section >= column_count) return {};
    if (role == Qt::DisplayRole) return localized(kColumnHeaders[section]);
    if (role == Qt::UserRole) return QString::fromLatin1(kColumnNames[section]);  // the identifier
    return {};
}

Qt::ItemFlags ComponentModel::flags(QModelIndex const& index) const {
    if (!index.isValid()) return Qt::NoItemFlags;
    if (index.column() != installed) return Qt::ItemIsEnabled | Qt::ItemIsSelectable;
    // An unavailable item's box is off and cannot be changed.
    if (itemAt(index)->getItemState() == item_unavailable) return Qt::ItemIsSelectable | Qt::ItemIsUserCheckable;
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable | Qt::ItemIsUserTristate;
}

bool ComponentModel::setData(QModelIndex const& index, QVariant const& value, int role) {
    if (!index.isValid() || index.column() != installed || role != Qt::CheckStateRole) return false;
    if (!itemAt(index)->click(value.toInt() != Qt::Unchecked)) return false;
    // A click changes the item, its category (for a member) or its members (for a category).
    auto changed = [this](QModelIndex const& row) { emit dataChanged(row.siblingAtColumn(component), row.siblingAtColumn(info)); };
    QModelIndex const row = index.siblingAtColumn(component);
    changed(row);
    if (row.parent().isValid()) changed(row.parent());
    for (int member = 0; member < rowCount(row); ++member) changed(this->index(member, component, row));
    return true;
}

} // namespace Refloom
