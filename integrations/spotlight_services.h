// The Spotlight importer ("inst_Spotlight") and the Services helper ("inst_Services"), each
// installed for the current user, for all users, or both, and the location page on which the
// user chooses between them. Neither is registered with the system: copying it into its
// folder is all.
//
//   importer  source: the installer bundle + "/Contents/Library/Spotlight/Refloom.mdimporter"
//             user: "~/Library/Spotlight/Refloom.mdimporter", system: "/Library/Spotlight/..."
//   helper    source: the installer folder + "/Services/RFService.app"
//             user: "~/Library/Services/RFService.app", system: "/Library/Services/..."
#pragma once

#include <QString>

#include "integrations/integration_context.h"

namespace Refloom {

class SpotlightServices {
public:
    explicit SpotlightServices(IntegrationContext const& context);

    // Source and dest are not used: the locations are fixed. A check answers 1 under the host
    // sub-mode 32 and looks at the disk under 35; a copy or a remove answers 0. Intended.
    int installSpotlightMode(int mode, int itemNum, QString const& source, QString const& dest);
    // As the importer, but the answer starts at 1: only a check under 35 that finds no copy
    // answers 0. A helper shipped as "RFService.app.disabled" is renamed into place first, and
    // a running helper is ended before its files are copied or removed.
    int installServicesMode(int mode, int itemNum, QString const& source, QString const& dest);

    // Enter operation of the location page: offers a component's two check boxes only when it
    // is newly chosen, and passes the page over when neither is.
    void adjustServSpot();

    // Cells of "spotBtns" and "servBtns".
    static constexpr int kUserCell = 0;
    static constexpr int kSystemCell = 1;

private:
    struct Placement;

    Placement spotlight() const;
    Placement services() const;
    // The shape both handlers share; `result` is the handler's starting answer.
    int install(Placement const& where, int mode, int result);

    IntegrationContext m_context;
};

} // namespace Refloom
