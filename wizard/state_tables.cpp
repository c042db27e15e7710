#include "wizard/state_tables.h"

#include <QCoreApplication>
#include <QtGlobal>

namespace Refloom {
namespace {

constexpr char const* kLogo = "installAppLogo";
constexpr InstallState kEnd{-1, nullptr, nullptr, nullptr, nullptr, nullptr};
constexpr int x = -1;  // an unused panel slot
constexpr char const* kProduct = "Refloom 2025.3";
constexpr char const* kMargina = "Refloom Margina";

} // namespace

// clang-format off
// Each row: panel, label, enter operations, leave operations.
std::array<InstallState, 10> const gEasyList = {{
    { 0, nullptr,   kLogo, "startToFind",           nullptr,  nullptr},
    { 1, nullptr,   kLogo, "disableBackOnly",       nullptr,  nullptr},
    { 2, nullptr,   kLogo, nullptr,                 nullptr,  nullptr},
    { 4, nullptr,   kLogo, nullptr,                 nullptr,  nullptr},
    { 5, nullptr,   kLogo, "doAgreeChange",         nullptr,  nullptr},
    { 6, nullptr,   kLogo, nullptr,                 nullptr,  nullptr},
    {10, nullptr,   kLogo, "doCheckForWord",        nullptr,  nullptr},
    {10, "GotWord", kLogo, "startToInitialInstall", nullptr,  nullptr},
    { 7, nullptr,   kLogo, "setDone",               "doExit", nullptr},
    kEnd,
}};

std::array<InstallState, 5> const gAutoList = {{
    { 1, nullptr, kLogo, nullptr,                 nullptr,  nullptr},
    { 4, nullptr, kLogo, nullptr,                 nullptr,  nullptr},
    {10, nullptr, kLogo, "startToInitialInstall", nullptr,  nullptr},
    { 7, nullptr, kLogo, "setDone",               "doExit", nullptr},
    kEnd,
}};

// Row 4 ends a change, row 5 an uninstall: the driver steps one row further after an uninstall.
std::array<InstallState, 7> const gCustomList = {{
    { 0, nullptr, kLogo, "startToFind",       nullptr,           nullptr},
    { 6, nullptr, kLogo, "disableBack",       nullptr,           nullptr},
    {13, nullptr, kLogo, "adjustServSpot",    nullptr,           nullptr},
    {10, "Go",    kLogo, "startToMakeChange", nullptr,           nullptr},
    { 8, nullptr, kLogo, "setDone",           "doCustExit",      nullptr},
    {11, nullptr, kLogo, "setExit",           "doUninstallExit", nullptr},
    kEnd,
}};

std::array<InstallState, 11> const gPatchList = {{
    {14, nullptr,   kLogo, nullptr,           nullptr,           nullptr},
    { 4, nullptr,   kLogo, nullptr,           nullptr,           nullptr},
    { 0, nullptr,   kLogo, "patchFindUI",     nullptr,           nullptr},
    { 0, nullptr,   kLogo, "findTheReflooms", nullptr,           nullptr},
    {16, "Found",   kLogo, nullptr,           nullptr,           nullptr},
    {10, nullptr,   kLogo, "patchProgressUI", nullptr,           nullptr},
    {10, nullptr,   kLogo, "doPatchYes",      nullptr,           nullptr},
    {17, "Done",    kLogo, "setDone",         "doUninstallExit", nullptr},
    kEnd,
    {18, "Nothing", kLogo, "setDone",         "doUninstallExit", nullptr},
    kEnd,
}};

std::array<InstallState, 10> const gRFWebInstList = {{
    { 0, nullptr,          kLogo, "startToFind",           nullptr,           nullptr},
    {26, "Start",          kLogo, "disableBack",           "doStartRFWeb",    nullptr},
    { 6, "Custom",         kLogo, nullptr,                 nullptr,           nullptr},
    {10, "Go",             kLogo, "startToInitialInstall", nullptr,           nullptr},
    {27, nullptr,          kLogo, "setDone",               "doExit",          nullptr},
    kEnd,
    {10, "doRFWUninstall", kLogo, "startToMakeChange",     nullptr,           nullptr},
    {27, nullptr,          kLogo, "setDone",               "doCustExit",      nullptr},
    {28, nullptr,          kLogo, "setDone",               "doUninstallExit", nullptr},
    kEnd,
}};

std::array<InstallNavigationList, 7> const gEasyNavList = {{
    {QT_TRID_NOOP("Welcome"), {1, x, x}}, {QT_TRID_NOOP("Install Type"), {2, x, x}}, {QT_TRID_NOOP("Read Me"), {4, x, x}},
    {QT_TRID_NOOP("License"), {5, x, x}}, {QT_TRID_NOOP("Customization"), {6, x, x}}, {QT_TRID_NOOP("Updating System"), {10, x, x}},
    {QT_TRID_NOOP("Summary"), {7, x, x}},
}};
std::array<InstallNavigationList, 4> const gAutoNavList = {{
    {QT_TRID_NOOP("Welcome"), {1, x, x}}, {QT_TRID_NOOP("Read Me"), {4, x, x}}, {QT_TRID_NOOP("Updating System"), {10, x, x}},
    {QT_TRID_NOOP("Summary"), {7, x, x}},
}};
std::array<InstallNavigationList, 3> const gCustomNavList = {{
    {QT_TRID_NOOP("Customization"), {6, x, x}}, {QT_TRID_NOOP("Updating System"), {10, x, x}}, {QT_TRID_NOOP("Summary"), {8, 11, x}},
}};
std::array<InstallNavigationList, 6> const gPatchNavList = {{
    {QT_TRID_NOOP("Welcome"), {14, x, x}}, {QT_TRID_NOOP("Read Me"), {4, x, x}}, {QT_TRID_NOOP("Finding Refloom"), {0, x, x}},
    {QT_TRID_NOOP("Found Refloom"), {16, x, x}}, {QT_TRID_NOOP("Updating System"), {10, x, x}}, {QT_TRID_NOOP("Summary"), {17, 18, x}},
}};
std::array<InstallNavigationList, 4> const gRFWebNavList = {{
    {QT_TRID_NOOP("Welcome"), {26, x, x}}, {QT_TRID_NOOP("Customization"), {6, x, x}}, {QT_TRID_NOOP("Updating System"), {10, x, x}},
    {QT_TRID_NOOP("Summary"), {27, 28, x}},
}};

// Nineteen slots; the empty ones never match.
std::array<InstallStatePanelTitle, 19> const gInstallStateLabels = {{
    { 1, QT_TRID_NOOP("Welcome to %@"),               kProduct},
    { 2, QT_TRID_NOOP("Select Installation Type"),    nullptr},
    { 4, QT_TRID_NOOP("Read Me"),                     nullptr},
    { 5, QT_TRID_NOOP("End User License Agreement"),  nullptr},
    { 6, QT_TRID_NOOP("Select Components"),           nullptr},
    { 7, QT_TRID_NOOP("Thank you for using %@"),      kProduct},
    { 8, QT_TRID_NOOP("Finish"),                      nullptr},
    { 9, QT_TRID_NOOP("Uninstall %@"),                kProduct},
    {10, QT_TRID_NOOP("Updating System"),             nullptr},
    {14, QT_TRID_NOOP("Welcome to %@ Update"),        kProduct},
    {17, QT_TRID_NOOP("Finish"),                      nullptr},
    {23, QT_TRID_NOOP("Margina for Microsoft Word"),  nullptr},
    {25, QT_TRID_NOOP("%@ Configuration"),            kMargina},
    {26, QT_TRID_NOOP("Welcome to %@"),               kMargina},
    {28, QT_TRID_NOOP("Finish"),                      nullptr},
    { 0, nullptr, nullptr}, { 0, nullptr, nullptr}, { 0, nullptr, nullptr}, { 0, nullptr, nullptr},
}};
// clang-format on

namespace {

Flow const kInstall{gEasyList, gEasyNavList, ""};
Flow const kAutomatic{gAutoList, gAutoNavList, ""};
Flow const kCustom{gCustomList, gCustomNavList, "Customizer_Customizer"};
Flow const kPatch{gPatchList, gPatchNavList, "Customizer_Patcher"};
Flow const kRFWeb{gRFWebInstList, gRFWebNavList, "Customizer_RFWeb_Install"};

} // namespace

Flow const* flowFor(int number, int mode) {
    switch (number) {
    case flow_install: return mode == kAutomaticMode ? &kAutomatic : &kInstall;
    case flow_custom: return &kCustom;
    case flow_patch: return &kPatch;
    case flow_rfweb: return &kRFWeb;
    default: return nullptr;
    }
}

// Texts are keyed by their English: a language without the key shows the English itself.
QString localized(char const* english) { return qtTrId(english); }

QString navigationText(InstallNavigationList const& entry) { return localized(entry.text); }

QString panelTitle(InstallStatePanelTitle const& slot) {
    if (!slot.title) return {};
    QString title = localized(slot.title);
    if (slot.argument) title.replace(QLatin1String("%@"), QString::fromUtf8(slot.argument));
    return title;
}

} // namespace Refloom
