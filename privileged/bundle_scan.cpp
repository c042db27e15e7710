#include "privileged/bundle_scan.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QFile>

#include <algorithm>
#include <vector>

namespace Refloom {
namespace {

struct Child {
    std::string name;
    unsigned char type;
};

bool isClosed(QString const& name, QStringList const& closed) {
    for (QString const& extension : closed)
        if (name.endsWith(extension)) return true;
    return false;
}

void scanAt(int fd, QString const& prefix, QStringList const& closed,
            std::function<void(ScanEntry const&)> const& visit) {
    DIR* listing = fdopendir(fd);
    if (!listing) {
        close(fd);
        return;
    }
    std::vector<Child> children;
    while (dirent* entry = readdir(listing)) {
        std::string_view name(entry->d_name);
        if (name != "." && name != "..") children.push_back({std::string(name), entry->d_type});
    }
    std::sort(children.begin(), children.end(), [](Child const& a, Child const& b) { return a.name < b.name; });
    for (Child const& child : children) {
        bool folder = child.type == DT_DIR;
        bool const link = child.type == DT_LNK;
        if (child.type == DT_UNKNOWN || link) {
            struct stat info;
            folder = fstatat(dirfd(listing), child.name.c_str(), &info, 0) == 0 && S_ISDIR(info.st_mode);
        }
        ScanEntry const entry{prefix + QFile::decodeName(child.name.c_str()), QFile::decodeName(child.name.c_str()), folder};
        visit(entry);
        if (folder && !link && !isClosed(entry.name, closed)) {
            int inner = openat(dirfd(listing), child.name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
            if (inner >= 0) scanAt(inner, entry.path + QLatin1Char('/'), closed, visit);
        }
    }
    closedir(listing);
}

} // namespace

void scanFolder(QString const& folder, QStringList const& closed,
                std::function<void(ScanEntry const&)> const& visit) {
    int fd = open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return;
    QString const prefix = folder.endsWith(QLatin1Char('/')) ? folder : folder + QLatin1Char('/');
    scanAt(fd, prefix, closed, visit);
}

QByteArray readInfoPlist(QString const& bundle) {
    // Plain reads: a lookup opens thousands of these small files.
    QByteArray const path = QFile::encodeName(bundle + QStringLiteral("/Contents/Info.plist"));
    // Non-blocking so a FIFO opens at once; links are followed, as the user could read the
    // target anyway. Only a regular file is read.
    int fd = open(path.constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) return {};
    struct stat info;
    if (fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
        close(fd);
        return {};
    }
    QByteArray bytes;
    char buffer[8192];
    for (ssize_t n; (n = read(fd, buffer, sizeof buffer)) > 0;) {
        bytes.append(buffer, n);
        if (bytes.size() > (1 << 22)) break;  // no real Info.plist is this large
    }
    close(fd);
    return bytes;
}

} // namespace Refloom
