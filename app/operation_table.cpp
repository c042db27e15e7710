#include "app/operation_table.h"

#include "wizard/navigation_engine.h"

namespace Refloom {

QVariant OperationTable::run(QString const& name, QVariant const& argument) const {
    auto found = m_operations.constFind(name);
    if (found == m_operations.constEnd()) throw UnknownOperation(name);
    return (*found)(argument);
}

} // namespace Refloom
