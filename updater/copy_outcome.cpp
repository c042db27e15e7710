#include "updater/copy_outcome.h"

#include "wizard/state_tables.h"

namespace Refloom {
namespace {

// The patch tool's exit statuses, as a person reads them of a copy.
struct Refusal {
    int status;
    char const* why;
};
constexpr Refusal kRefusals[] = {
    {1, QT_TRID_NOOP("the patch tool was not run as this update expects")},
    {2, QT_TRID_NOOP("this update's patch is missing or damaged")},
    {3, QT_TRID_NOOP("this update's patch is not signed by its maker")},
    {4, QT_TRID_NOOP("this update's patch is of a newer format")},
    {5, QT_TRID_NOOP("a link stands where the update would write")},
    {6, QT_TRID_NOOP("it has been changed since it was installed; reinstall it, then update")},
    {7, QT_TRID_NOOP("a file of the update does not match; nothing was changed")},
    {8, QT_TRID_NOOP("the patch could not be applied; the copy was put back as it was")},
    {9, QT_TRID_NOOP("it is already up to date")},
};

} // namespace

PatchedCopy::Outcome PatchedCopy::outcome() const {
    if (dryRun == 9) return Outcome::upToDate;
    if (!patchable()) return Outcome::unpatchable;
    if (patched) return versionAfter == versionBefore ? Outcome::upToDate : Outcome::updated;
    if (answered) return Outcome::failed;
    return offered ? Outcome::declined : Outcome::notReached;
}

QString PatchedCopy::refusal(int status) {
    for (Refusal const& refusal : kRefusals)
        if (refusal.status == status) return localized(refusal.why);
    return status == 0 ? QString() : localized("the patch tool ended with status %@").replace(QStringLiteral("%@"), QString::number(status));
}

QString PatchedCopy::line() const {
    switch (outcome()) {
    case Outcome::updated:
        return localized("Updated: %1 (%2 -> %3)").arg(folder, versionBefore, versionAfter);
    case Outcome::upToDate:
        return localized("Already up to date: %1 (%2)").arg(folder, versionAfter.isEmpty() ? versionBefore : versionAfter);
    case Outcome::declined:
        return localized("Left as it was (the answer was No): %1").arg(folder);
    case Outcome::unpatchable:
        return localized("Cannot be updated: %1: %2").arg(folder, refusal(dryRun));
    case Outcome::failed:
        return localized("Not updated: %1: %2").arg(folder, failure);
    case Outcome::notReached:
        return localized("Left as it was (the run ended before it was offered): %1").arg(folder);
    }
    return {};
}

char const* PatchedCopy::reportName() const {
    switch (outcome()) {
    case Outcome::updated: return "patched";
    case Outcome::upToDate: return "up to date";
    case Outcome::declined: return "declined";
    case Outcome::failed: return "failed";
    case Outcome::unpatchable:
    case Outcome::notReached: return "not offered";
    }
    return "";
}

} // namespace Refloom
