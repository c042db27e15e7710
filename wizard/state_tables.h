// Every flow of the wizard as data: a table of states (rows naming the operations run on
// entering and leaving each page), a navigation list for the outline, and the panel titles.
#pragma once

#include <QString>

#include <array>
#include <span>

namespace Refloom {

// One row of a state table. A tabIndex of -1 ends a table (a terminator row); a table may hold a
// second block after it, reached only by jumping to a label.
struct InstallState {
    int tabIndex;
    char const* label;
    char const* enterAction;
    char const* enterAction2;
    char const* leaveAction;
    char const* leaveAction2;
};

// One line of the outline: current while the row's panel is any of its three (-1 unused).
struct InstallNavigationList {
    char const* text;  // English text, the key of its translation
    std::array<int, 3> tabIndices;
};

// A panel's title; where the key holds "%@" the argument (never translated) goes there.
struct InstallStatePanelTitle {
    int tabIndex;
    char const* title;
    char const* argument;
};

// A flow: the tables `startState` selects by flow number, and the mode name help asks for.
struct Flow {
    std::span<InstallState const> states;
    std::span<InstallNavigationList const> navigation;
    char const* secretIdentity;
};

extern std::array<InstallState, 10> const gEasyList;
extern std::array<InstallState, 5> const gAutoList;
extern std::array<InstallState, 7> const gCustomList;
extern std::array<InstallState, 11> const gPatchList;
extern std::array<InstallState, 10> const gRFWebInstList;

extern std::array<InstallNavigationList, 7> const gEasyNavList;
extern std::array<InstallNavigationList, 4> const gAutoNavList;
extern std::array<InstallNavigationList, 3> const gCustomNavList;
extern std::array<InstallNavigationList, 6> const gPatchNavList;
extern std::array<InstallNavigationList, 4> const gRFWebNavList;

extern std::array<InstallStatePanelTitle, 19> const gInstallStateLabels;

// Flow numbers `startState` knows.
enum FlowNumber : int { flow_install = 0, flow_custom = 1, flow_patch = 3, flow_rfweb = 4 };
// The mode a host passes for a pre-configured install; flow 0 then runs the automatic tables.
constexpr int kAutomaticMode = 34;

// The flow for a number and mode; null for numbers no flow has (2, 5 and above).
Flow const* flowFor(int number, int mode);

// Translated texts: an outline line, a panel title (formatted with its argument), and the
// button and fixed words the wizard shows.
QString localized(char const* english);
QString navigationText(InstallNavigationList const& entry);
QString panelTitle(InstallStatePanelTitle const& slot);

} // namespace Refloom
