#include "privileged/tool_table.h"

#include <algorithm>

namespace Refloom {

ToolCall ToolTable::call(FileTool operation, QString const& first, QString const& second) const {
    auto table = rows();
    auto row = std::find_if(table.begin(), table.end(), [operation](ToolRow const& r) { return r.operation == operation; });
    QString tool = QString::fromLatin1(row->tool);
    if (tool.startsWith(QLatin1Char('@'))) tool = m_resourceDir + QLatin1Char('/') + tool.mid(1);
    QStringList arguments;
    for (char const* argument : row->arguments) {
        QLatin1String const text(argument);
        arguments.append(text == QLatin1String("{1}")   ? first
                         : text == QLatin1String("{2}") ? second
                                                        : QString(text));
    }
    return {tool, arguments};
}

} // namespace Refloom
