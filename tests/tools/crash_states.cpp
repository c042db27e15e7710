#include "tests/tools/crash_states.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <map>
#include <set>
#include <sstream>
#include <stdexcept>

#include "tests/fixtures/scratch.h"

namespace fs = std::filesystem;

namespace rf_test {
namespace {

std::string parentOf(std::string const& path) { return path.substr(0, path.rfind('/')); }
std::string nameOf(std::string const& path) { return path.substr(path.rfind('/') + 1); }
bool isUnder(std::string const& path, std::string const& folder) {
    return path == folder || (path.size() > folder.size() && path.starts_with(folder) && path[folder.size()] == '/');
}

std::string fromHex(std::string const& hex) {
    std::string bytes(hex.size() / 2, '\0');
    for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = char(std::stoi(hex.substr(2 * i, 2), nullptr, 16));
    return bytes;
}

// Where each item is, by path: during the recorded run, and again in each state built.
class Places {
public:
    std::map<std::string, int> at;

    int find(std::string const& path) const {
        auto found = at.find(path);
        return found == at.end() ? -1 : found->second;
    }
    bool hasItemsBelow(std::string const& path) const {
        auto next = at.upper_bound(path + "/");
        return next != at.end() && isUnder(next->first, path);
    }
    void erase(std::string const& path) {
        for (auto it = at.lower_bound(path); it != at.end() && it->first.starts_with(path);)
            it = isUnder(it->first, path) ? at.erase(it) : std::next(it);
    }
    void move(std::string const& from, std::string const& to) {
        erase(to);
        std::map<std::string, int> moved;
        for (auto it = at.lower_bound(from); it != at.end() && it->first.starts_with(from);) {
            if (!isUnder(it->first, from)) { ++it; continue; }
            moved[to + it->first.substr(from.size())] = it->second;
            it = at.erase(it);
        }
        at.insert(moved.begin(), moved.end());
    }
    std::string pathOf(int item) const {
        for (auto const& [path, id] : at)
            if (id == item) return path;
        return "";
    }
};

bool isFlush(FsOp const& op) { return op.kind == FsOp::Kind::flushItem || op.kind == FsOp::Kind::flushAll; }

} // namespace

CrashStates::CrashStates(std::string const& log, std::string const& root) {
    Places places;
    std::vector<bool> isLink;
    auto add = [&](std::string const& path, bool link, bool atStart) {
        int const id = int(isLink.size());
        isLink.push_back(link);
        m_startPaths.push_back(atStart ? path : "");
        places.at[path] = id;
        return id;
    };
    add(root, false, true);
    for (auto const& entry : fs::recursive_directory_iterator(root))
        add(entry.path().string(), entry.is_symlink(), true);

    std::istringstream lines(read_file(log));
    for (std::string line; std::getline(lines, line);) {
        std::vector<std::string> field;
        std::istringstream fields(line);
        for (std::string f; std::getline(fields, f, '\t');) field.push_back(f);
        field.resize(5);
        std::string const &call = field[0], &path = field[1];
        using K = FsOp::Kind;
        FsOp op;
        op.kind = K::flushAll;
        op.line = line.substr(0, 160);
        if (call == "sync" || call == "syncfs") {
            m_ops.push_back(op);
            continue;
        }
        if (!isUnder(path, root)) continue;
        int const item = places.find(path), folder = places.find(parentOf(path));
        op.item = item;
        if (call == "create" || call == "mkdir" || call == "symlink") {
            if (folder < 0) continue;
            op.kind = call == "create" ? K::create : call == "mkdir" ? K::mkdir : K::symlink;
            op.folder = folder;
            op.name = nameOf(path);
            op.folders = {folder};
            op.mode = unsigned(std::stoul(call == "symlink" ? "0" : field[2], nullptr, 8));
            op.target = field[2];
            if (item < 0 || call != "create") op.item = add(path, call == "symlink", false);
        } else if (item < 0) {
            continue;  // a call that failed: there was nothing at the path
        } else if (call == "write") {
            op.kind = K::write;
            op.offset = std::stoll(field[2]);
            op.bytes = fromHex(field[3]);
        } else if (call == "fchmod" || call == "chmod") {
            op.kind = K::mode;
            op.mode = unsigned(std::stoul(field[2], nullptr, 8));
        } else if (call == "futimens" || call == "utimensat") {
            op.kind = K::time;
            op.seconds = std::stoll(field[2]);
            op.nanoseconds = std::stol(field[3]);
            if (isLink[std::size_t(item)]) op.folders = {folder};  // a link's time goes with its folder
        } else if (call == "rename") {
            int const to = places.find(parentOf(field[2]));
            if (to < 0) continue;
            op.kind = K::rename;
            op.folder = to;
            op.name = nameOf(field[2]);
            op.folders = {folder, to};
            places.move(path, field[2]);
        } else if (call == "remove" || call == "unlink" || call == "rmdir") {
            if (places.hasItemsBelow(path)) continue;  // a folder not yet empty stays
            op.kind = K::remove;
            op.folders = {folder};
            places.erase(path);
        } else if (call == "fsync" || call == "fdatasync") {
            op.kind = K::flushItem;
        } else {
            throw std::runtime_error("a call the model does not know: " + line.substr(0, 80));
        }
        m_ops.push_back(op);
    }
}

std::size_t CrashStates::forEachState(std::function<void(std::vector<bool> const&)> const& visit, std::size_t exhaustiveUpTo,
                                      std::size_t* bounded) const {
    std::size_t const n = m_ops.size();
    std::vector<bool> forced(n, false);
    std::vector<std::set<int>> unflushedFolders(n);
    for (std::size_t i = 0; i < n; ++i) unflushedFolders[i] = {m_ops[i].folders.begin(), m_ops[i].folders.end()};
    std::set<std::vector<bool>> seen;
    if (bounded) *bounded = 0;
    for (std::size_t point = 0; point <= n; ++point) {
        // Between two flushes the states only grow: those at the moment before a flush, or at
        // the end, hold every earlier moment's.
        if (point == n || isFlush(m_ops[point])) {
            std::vector<std::size_t> free;
            for (std::size_t j = 0; j < point; ++j)
                if (!forced[j] && !isFlush(m_ops[j])) free.push_back(j);
            std::vector<std::vector<std::size_t>> choices;  // the free operations each state leaves out
            if (free.size() <= exhaustiveUpTo) {
                for (std::uint64_t mask = 0; mask < (std::uint64_t(1) << free.size()); ++mask) {
                    choices.emplace_back();
                    for (std::size_t b = 0; b < free.size(); ++b)
                        if (mask >> b & 1) choices.back().push_back(free[b]);
                }
            } else {
                if (bounded) ++*bounded;
                std::vector<std::size_t> all = free;
                choices.push_back({});
                choices.push_back(all);
                for (std::size_t a = 0; a < free.size(); ++a) {
                    choices.push_back({free[a]});
                    std::vector<std::size_t> allBut = all;
                    allBut.erase(allBut.begin() + long(a));
                    choices.push_back(allBut);
                    for (std::size_t b = a + 1; b < free.size(); ++b) {
                        choices.push_back({free[a], free[b]});
                        std::vector<std::size_t> allBut2 = allBut;
                        allBut2.erase(allBut2.begin() + long(b - 1));
                        choices.push_back(allBut2);
                    }
                }
            }
            for (auto const& left : choices) {
                std::vector<bool> persisted(n, false);
                for (std::size_t j = 0; j < point; ++j) persisted[j] = !isFlush(m_ops[j]);
                for (std::size_t j : left) persisted[j] = false;
                if (seen.insert(persisted).second) visit(persisted);
            }
        }
        if (point == n || !isFlush(m_ops[point])) continue;
        FsOp const& flush = m_ops[point];
        for (std::size_t j = 0; j < point; ++j) {
            if (forced[j] || isFlush(m_ops[j])) continue;
            if (flush.kind == FsOp::Kind::flushAll || (m_ops[j].folders.empty() && m_ops[j].item == flush.item)) {
                forced[j] = true;
            } else if (unflushedFolders[j].erase(flush.item) && unflushedFolders[j].empty()) {
                forced[j] = true;
            }
        }
    }
    return seen.size();
}

std::vector<bool> CrashStates::replay(std::vector<bool> const& persisted) const {
    std::vector<bool> done(m_ops.size(), false);
    Places places;
    for (std::size_t id = 0; id < m_startPaths.size(); ++id)
        if (!m_startPaths[id].empty()) places.at[m_startPaths[id]] = int(id);
    using K = FsOp::Kind;
    for (std::size_t i = 0; i < m_ops.size(); ++i) {
        FsOp const& op = m_ops[i];
        if (!persisted[i] || isFlush(op)) continue;
        std::string const path = op.item >= 0 ? places.pathOf(op.item) : "";
        std::string const folder = op.folder >= 0 ? places.pathOf(op.folder) : "";
        std::string const made = folder + "/" + op.name;
        bool const madeHere = op.kind == K::create || op.kind == K::mkdir || op.kind == K::symlink;
        if (madeHere ? folder.empty() : path.empty()) continue;
        switch (op.kind) {
        case K::create: {
            int const fd = open(made.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, op.mode);
            if (fd < 0) continue;
            close(fd);
            places.erase(made);
            places.at[made] = op.item;
            break;
        }
        case K::mkdir:
        case K::symlink:
            if ((op.kind == K::mkdir ? mkdir(made.c_str(), op.mode) : symlink(op.target.c_str(), made.c_str())) != 0) continue;
            places.at[made] = op.item;
            break;
        case K::write: {
            int const fd = open(path.c_str(), O_WRONLY | O_NOFOLLOW | O_CLOEXEC);
            if (fd < 0) continue;
            bool const written = pwrite(fd, op.bytes.data(), op.bytes.size(), off_t(op.offset)) == ssize_t(op.bytes.size());
            close(fd);
            if (!written) throw std::runtime_error("cannot replay " + op.line);
            break;
        }
        case K::mode:
            if (chmod(path.c_str(), op.mode) != 0) continue;
            break;
        case K::time: {
            timespec const times[2] = {{op.seconds, op.nanoseconds}, {op.seconds, op.nanoseconds}};
            if (utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW) != 0) continue;
            break;
        }
        case K::rename:
            if (folder.empty() || std::rename(path.c_str(), made.c_str()) != 0) continue;
            places.move(path, made);
            break;
        case K::remove:
            if (std::remove(path.c_str()) != 0) continue;
            places.erase(path);
            break;
        default:
            break;
        }
        done[i] = true;
    }
    return done;
}

} // namespace rf_test
