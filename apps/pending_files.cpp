#include "pending_files.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include "failure.hpp"

namespace kalviro::cli {

namespace {

std::string directoryOf(const std::string& path) {
    const size_t slash = path.rfind('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

bool exists(const std::string& path) {
    struct stat st {};
    return ::lstat(path.c_str(), &st) == 0;
}

// Temporary names that a signal handler can reach: a fixed table of
// C strings, filled and cleared under the PendingFiles' lock.
constexpr size_t kSignalSlots = 4096;
std::atomic<char*> gSignalSlots[kSignalSlots];

void registerForSignal(const std::string& path) {
    char* copy = strdup(path.c_str());
    for (std::atomic<char*>& slot : gSignalSlots) {
        char* empty = nullptr;
        if (slot.compare_exchange_strong(empty, copy)) return;
    }
    std::free(copy);  // more than the table holds: left to the normal clean-up
}

void unregisterForSignal(const std::string& path) {
    for (std::atomic<char*>& slot : gSignalSlots) {
        char* p = slot.load();
        if (p != nullptr && path == p && slot.compare_exchange_strong(p, nullptr)) {
            std::free(p);
            return;
        }
    }
}

extern "C" void onSignal(int sig) {
    for (std::atomic<char*>& slot : gSignalSlots) {
        if (char* p = slot.load()) ::unlink(p);
    }
    std::signal(sig, SIG_DFL);
    std::raise(sig);
}

mode_t currentUmask() {
    const mode_t m = ::umask(022);
    ::umask(m);
    return m;
}

}  // namespace

void removePendingOnSignal() {
    std::signal(SIGINT, onSignal);
    std::signal(SIGTERM, onSignal);
}

PendingFiles::~PendingFiles() {
    for (const Entry& e : entries_) {
        ::unlink(e.temp.c_str());
        unregisterForSignal(e.temp);
    }
}

void PendingFiles::check(const std::string& target) const {
    if (!force_ && exists(target)) throw Failure(target + " exists; --force replaces it");
    const std::string dir = directoryOf(target);
    if (::access(dir.c_str(), W_OK | X_OK) != 0) {
        throw Failure("cannot write " + target + ": " + std::strerror(errno));
    }
}

std::string PendingFiles::create(const std::string& target) {
    check(target);
    const std::string dir = directoryOf(target);
    const std::string base =
        target.substr(target.rfind('/') == std::string::npos ? 0 : target.rfind('/') + 1);
    std::string temp = dir + "/." + base + ".XXXXXX";
    const int fd = ::mkstemp(temp.data());
    if (fd < 0) throw Failure("cannot write " + target + ": " + std::strerror(errno));
    static const mode_t mask = currentUmask();
    ::fchmod(fd, 0666 & ~mask);
    ::close(fd);
    std::lock_guard<std::mutex> lock(mutex_);
    entries_.push_back(Entry{temp, target});
    registerForSignal(temp);
    return temp;
}

std::vector<std::string> PendingFiles::commit() {
    std::lock_guard<std::mutex> lock(mutex_);
    std::vector<std::string> done;
    for (auto it = entries_.begin(); it != entries_.end(); it = entries_.erase(it)) {
        if (force_) {
            if (std::rename(it->temp.c_str(), it->target.c_str()) != 0) {
                throw Failure("cannot write " + it->target + ": " + std::strerror(errno));
            }
        } else {
            // A link fails if the target appeared meanwhile; no race with a
            // check before a rename.
            if (::link(it->temp.c_str(), it->target.c_str()) != 0) {
                if (errno == EEXIST) throw Failure(it->target + " exists; --force replaces it");
                throw Failure("cannot write " + it->target + ": " + std::strerror(errno));
            }
            ::unlink(it->temp.c_str());
        }
        unregisterForSignal(it->temp);
        done.push_back(it->target);
    }
    return done;
}

}  // namespace kalviro::cli
