// Walks a flow in the window, pressing Next (and No to each copy offered, so that the copies
// stay as they were), and hands each page it shows to `onPage`: for pictures of the pages, and
// for the tests that look at them.
#pragma once

#include <QString>

#include <functional>

#include "app/command_line.h"
#include "ui/qt_wizard_view.h"

namespace Refloom {

using OnPage = std::function<void(QtWizardView& view, int step)>;

// The window on the real window file over `root`, for the demo user, at its own size, in the
// application's palette.
void walkFlow(QString const& bundle, QString const& root, CommandLine::Flow flow, OnPage const& onPage);

// The pages no walk reaches, each on its own: its title and content, with no outline and no
// buttons, which belong to a flow.
void walkLonePages(QString const& bundle, QString const& root, OnPage const& onPage);

} // namespace Refloom
