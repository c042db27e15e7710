// The component tree as a Qt item model, so that the window's outline and the console show
// the same tree: columns "component", "installed" (a tri-state check box whose value, "1" or
// "0", is its edit role) and "info".
#pragma once

#include <QAbstractItemModel>

#include "components/rf_item.h"

namespace Refloom {

class ComponentModel : public QAbstractItemModel {
public:
    enum Column { component, installed, info, column_count };

    explicit ComponentModel(rfItem& root, QObject* parent = nullptr) : QAbstractItemModel(parent), m_root(root) {}

    rfItem* itemAt(QModelIndex const& index) const;

    QModelIndex index(int row, int column, QModelIndex const& parent = QModelIndex()) const override;
    QModelIndex parent(QModelIndex const& child) const override;
    int rowCount(QModelIndex const& parent = QModelIndex()) const override;
    int columnCount(QModelIndex const& parent = QModelIndex()) const override;
    QVariant data(QModelIndex const& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(QModelIndex const& index) const override;
    // A check on the "installed" column is a click on the item's box.
    bool setData(QModelIndex const& index, QVariant const& value, int role = Qt::EditRole) override;

private:
    rfItem& m_root;
};

} // namespace Refloom
