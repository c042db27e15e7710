// The wizard in its window: the window file loaded as the controller's view, set up as it
// always was when it loads, and run until the window closes.
#pragma once

#include <memory>

#include "app/command_line.h"
#include "app/rf_controller.h"
#include "app/run_outcome.h"
#include "ui/qt_wizard_view.h"

namespace Refloom {

// The window over "Customizer.ui" of the resources; null, with "Load of Customizer NIB failed"
// in the system log, when it cannot be loaded.
std::unique_ptr<QtWizardView> loadCustomizerWindow(QString const& resourceDir);

// Wires the window to the controller and sets its pages up, as the window file's loading always
// did: emptied outline and title, the window's title, the resting folder buttons, the read-me
// and agreement texts, the window centred and shown, the first flow started.
void setUpWindow(rfController& controller, QtWizardView& view);

// Sets the window up, starts the flow and runs until the window closes. Answers the entry's
// result: 129 on a normal end.
int showCustomizerFromMenu(rfController& controller, QtWizardView& view, CommandLine const& line, RunOutcome& outcome);

} // namespace Refloom
