// The named operations of the controller: what a state table row, a button or a later part of
// the program names, looked up in one place. A name nobody registered fails at once.
#pragma once

#include <QHash>
#include <QStringList>
#include <QVariant>

#include <functional>

namespace Refloom {

// An operation takes one optional argument (a sender, a picture name) and answers null (an
// invalid QVariant) to let the wizard go on, anything else to hold it.
using Operation = std::function<QVariant(QVariant const& argument)>;

class OperationTable {
public:
    // Registering a name twice replaces the first: a later part may fill in an operation.
    void add(QString const& name, Operation operation) { m_operations.insert(name, std::move(operation)); }
    bool contains(QString const& name) const { return m_operations.contains(name); }
    QStringList names() const { return m_operations.keys(); }
    // Raises UnknownOperation for a name nobody registered.
    QVariant run(QString const& name, QVariant const& argument = QVariant()) const;

private:
    QHash<QString, Operation> m_operations;
};

} // namespace Refloom
