#include "outputs/pending_files.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "frames/failure.hpp"

namespace kalviro::cli {

namespace {

std::string directoryOf(const std::string& path) {
    const size_t slash = path.rfind('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

std::string baseOf(const std::string& path) {
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

[[noreturn]] void cannotWrite(const std::string& target, int err) {
    throw Failure("cannot write " + target + ": " + std::strerror(err));
}

// The file a target names, whatever way it is spelt: the directory resolved,
// then the name in it.
std::string canonicalName(const std::string& target) {
    const std::string base = baseOf(target);
    if (base.empty() || base == "." || base == "..") throw Failure(target + " is a directory");
    char resolved[PATH_MAX];
    if (::realpath(directoryOf(target).c_str(), resolved) == nullptr) cannotWrite(target, errno);
    return std::string(resolved) + "/" + base;
}

// What is in the target's place, if anything, is something --force may
// replace: a regular file, nothing else.
void requireReplaceable(const std::string& target, const struct stat& st) {
    if (S_ISDIR(st.st_mode)) throw Failure(target + " is a directory");
    if (!S_ISREG(st.st_mode)) {
        throw Failure(target + " is not a regular file; --force replaces regular files only");
    }
}

mode_t currentUmask() {
    const mode_t m = ::umask(022);
    ::umask(m);
    return m;
}

// The PendingFiles alive, for the clean-up on a signal. Never destroyed: a
// signal may come while the program exits.
struct Registry {
    std::mutex mutex;
    std::vector<PendingFiles*> all;
};

Registry& registry() {
    static Registry* r = new Registry;
    return *r;
}

}  // namespace

void removeAllPending() {
    Registry& r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    for (PendingFiles* p : r.all) p->removeTemporaries();
}

PendingFiles::PendingFiles(bool force) : force_(force) {
    Registry& r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    r.all.push_back(this);
}

PendingFiles::~PendingFiles() {
    {
        Registry& r = registry();
        std::lock_guard<std::mutex> lock(r.mutex);
        r.all.erase(std::find(r.all.begin(), r.all.end(), this));
    }
    removeTemporaries();
}

void PendingFiles::removeTemporaries() {
    std::lock_guard<std::mutex> lock(mutex_);
    for (const Entry& e : entries_) ::unlink(e.temp.c_str());
    entries_.clear();
    ended_ = true;
}

void PendingFiles::checkLocked(const std::string& target, const std::string& canonical) {
    const auto seen = claimed_.find(canonical);
    if (seen != claimed_.end()) {
        const std::string& other = seen->second.target;
        throw Failure(other == target ? target + " is named twice among the outputs"
                                      : target + " and " + other + " name the same file");
    }
    struct stat st {};
    if (::lstat(target.c_str(), &st) == 0) {
        requireReplaceable(target, st);
        if (!force_) throw Failure(target + " exists; --force replaces it");
    } else if (errno != ENOENT) {
        cannotWrite(target, errno);
    }
    if (::access(directoryOf(target).c_str(), W_OK | X_OK) != 0) cannotWrite(target, errno);
    claimed_.emplace(canonical, Claim{target, false});
}

void PendingFiles::check(const std::string& target) {
    const std::string canonical = canonicalName(target);
    std::lock_guard<std::mutex> lock(mutex_);
    checkLocked(target, canonical);
}

std::string PendingFiles::create(const std::string& target) {
    const std::string canonical = canonicalName(target);
    std::string temp = directoryOf(target) + "/." + baseOf(target) + ".XXXXXX";
    std::lock_guard<std::mutex> lock(mutex_);
    // After a clean-up on a signal, a writer still running makes nothing new.
    if (ended_) throw Failure("cannot write " + target + ": the command is ending");
    if (claimed_.count(canonical) == 0) checkLocked(target, canonical);
    Claim& claim = claimed_[canonical];
    if (claim.created) throw Failure(target + " is named twice among the outputs");
    const int fd = ::mkstemp(temp.data());
    if (fd < 0) cannotWrite(target, errno);
    static const mode_t mask = currentUmask();
    ::fchmod(fd, 0666 & ~mask);
    ::close(fd);
    entries_.push_back(Entry{temp, target});
    claim.created = true;
    return temp;
}

std::vector<std::string> PendingFiles::commit() {
    std::lock_guard<std::mutex> lock(mutex_);
    std::vector<std::string> done;
    for (const Entry& e : entries_) {
        int err = 0;
        if (force_) {
            // Checked again: what is in the way may have changed since.
            struct stat st {};
            if (::lstat(e.target.c_str(), &st) == 0) requireReplaceable(e.target, st);
            if (std::rename(e.temp.c_str(), e.target.c_str()) != 0) err = errno;
        } else if (::link(e.temp.c_str(), e.target.c_str()) == 0) {
            // A link fails if the target appeared meanwhile: no race with a
            // check before a rename.
            ::unlink(e.temp.c_str());
        } else {
            err = errno;
            for (const std::string& t : done) ::unlink(t.c_str());
            if (err == EEXIST) throw Failure(e.target + " exists; --force replaces it");
        }
        if (err != 0) cannotWrite(e.target, err);
        done.push_back(e.target);
    }
    entries_.clear();
    return done;
}

}  // namespace kalviro::cli
