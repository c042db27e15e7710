// Each file operation as the tool and arguments that carry it out on this platform, and the
// way back: which named operation a tool and its arguments stand for, so that an administrator
// run can be asked of the privileged helper, which takes named operations only.
#pragma once

#include <QString>
#include <QStringList>

#include <optional>

#include "privileged/helper_protocol.h"
#include "privileged/tool_rows.h"

namespace Refloom {

struct ToolCall {
    QString tool;
    QStringList arguments;
    bool operator==(ToolCall const&) const = default;
};

class ToolTable {
public:
    // `resourceDir` holds the tools of ours ("@" rows), the resource scripts and the patch tool.
    explicit ToolTable(QString resourceDir) : m_resourceDir(std::move(resourceDir)) {}

    ToolCall call(FileTool operation, QString const& first, QString const& second = QString()) const;
    // The helper request that runs the same command: a row whose tool and arguments match
    // exactly, the patch tool of the resource folder, or a script in it. None for anything else.
    std::optional<HelperProtocol::Request> request(QString const& tool, QStringList const& arguments) const;

private:
    QString toolPath(ToolRow const& row) const;

    QString m_resourceDir;
};

} // namespace Refloom
