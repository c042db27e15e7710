#include "privileged/tool_rows.h"

#include <algorithm>

namespace Refloom {

std::optional<ToolRow> toolRow(FileTool operation) {
    auto rows = toolRows();
    auto row = std::find_if(rows.begin(), rows.end(), [operation](ToolRow const& r) { return r.operation == operation; });
    if (row == rows.end()) return std::nullopt;
    return *row;
}

int operandCount(ToolRow const& row) {
    int count = 0;
    for (std::string_view argument : row.arguments)
        if (argument == "{1}" || argument == "{2}") ++count;
    return count;
}

} // namespace Refloom
