// The arguments of a named operation: a QVariantList in the order of the name's parts, where a
// missing or invalid item is null (nil). And the small adapters that register operations.
#pragma once

#include <QString>
#include <QVariant>
#include <QVariantList>

#include <functional>

#include "app/operation_table.h"
#include "privileged/command_runner.h"

namespace Refloom::OperationArguments {

using Arguments = QVariantList;

inline QString text(Arguments const& a, qsizetype i) { return i < a.size() && a[i].isValid() ? a[i].toString() : QString(); }
inline int number(Arguments const& a, qsizetype i) { return i < a.size() ? a[i].toInt() : 0; }
inline bool flag(Arguments const& a, qsizetype i) { return i < a.size() && a[i].toBool(); }
inline Params params(Arguments const& a, qsizetype i) {
    return i < a.size() && a[i].isValid() ? Params(a[i].toStringList()) : std::nullopt;
}

// An operation that reads its arguments and answers a value.
inline void add(OperationTable& table, char const* name, std::function<QVariant(Arguments const&)> run) {
    table.add(QString::fromLatin1(name), [run = std::move(run)](QVariant const& arguments) { return run(arguments.toList()); });
}

// An operation that answers null whatever it does.
inline void act(OperationTable& table, char const* name, std::function<void()> run) {
    table.add(QString::fromLatin1(name), [run = std::move(run)](QVariant const&) {
        run();
        return QVariant();
    });
}

// A mode handler: [mode, itemNum, source, dest] in, its signed result out.
inline void handler(OperationTable& table, char const* name, std::function<int(int, int, QString const&, QString const&)> run) {
    add(table, name, [run = std::move(run)](Arguments const& a) { return QVariant(run(number(a, 0), number(a, 1), text(a, 2), text(a, 3))); });
}

} // namespace Refloom::OperationArguments
