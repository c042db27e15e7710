#include "app/translations.h"

#include <QCoreApplication>
#include <QLocale>
#include <QTranslator>

namespace Refloom {

bool installTranslations(QString const& resourceDir) {
    // The catalogue is built twice: the code's texts by id, the window files' by context.
    bool found = false;
    for (char const* name : {"Refloom", "RefloomWindow"}) {
        auto* translator = new QTranslator(QCoreApplication::instance());
        if (translator->load(QLocale(), QString::fromLatin1(name), QStringLiteral("_"), resourceDir + QStringLiteral("/translations")))
            found = QCoreApplication::installTranslator(translator) || found;
        else
            delete translator;
    }
    return found;
}

} // namespace Refloom
