// Runs one application lookup over a sandbox system root from the command line, so that an
// outside timer (bench/app_lookup.sh uses hyperfine) can compare it with a plain walk of the
// same folders.
//   rf_app_lookup_bench ROOT identifier ID   findApplicationsWithBundleIdentifier(ID, 0, 255)
//   rf_app_lookup_bench ROOT name NAME       findApplication(NAME, 0, 255)
// Prints the paths found, one per line; exits with 1 when there are none, 2 on bad arguments.
// The user's home inside ROOT is /Users/bench, as bench/app_lookup_data.py makes it; the
// lookup's log goes to its Library/Logs.
#include <cstdio>
#include <exception>
#include <string_view>

#include <QFile>
#include <QString>
#include <QStringList>

#include "privileged/app_lookup.h"

namespace {

constexpr char const* kHome = "/Users/bench";

int usage() {
    std::fputs("usage: rf_app_lookup_bench ROOT identifier BUNDLE-IDENTIFIER\n"
               "       rf_app_lookup_bench ROOT name NAME\n",
               stderr);
    return 2;
}

int print(QStringList const& paths) {
    for (QString const& path : paths) {
        QByteArray const bytes = QFile::encodeName(path);
        std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stdout);
        std::fputc('\n', stdout);
    }
    return paths.isEmpty() ? 1 : 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 4 || argv[1][0] == '\0') return usage();
    std::string_view const command = argv[2];
    if (command != "identifier" && command != "name") return usage();
    try {
        Refloom::SystemRoot const root(QFile::decodeName(argv[1]), QString::fromLatin1(kHome));
        Refloom::InstallerLog log(root);
        Refloom::AppLookup lookup(log, root);
        QString const what = QFile::decodeName(argv[3]);
        if (command == "identifier") return print(lookup.findApplicationsWithBundleIdentifier(what, 0, 255).value_or(QStringList()));
        return print(lookup.findApplication(what, 0, 255));
    } catch (std::exception const& error) {
        std::fprintf(stderr, "rf_app_lookup_bench: %s\n", error.what());
        return 1;
    }
}
