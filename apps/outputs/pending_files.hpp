// Outputs are written to a temporary file beside their target and moved into
// place together when the whole run has succeeded, so a failed or
// interrupted run leaves none of them and never a truncated file. Every
// target is checked before anything is written: an existing file is not
// replaced without --force, and never a directory, device, FIFO, socket or
// symbolic link; two outputs naming one file are refused.
#pragma once

#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace kalviro::cli {

class PendingFiles {
public:
    explicit PendingFiles(bool force);
    ~PendingFiles();  // removes every temporary file not yet committed
    PendingFiles(const PendingFiles&) = delete;
    PendingFiles& operator=(const PendingFiles&) = delete;

    // Claims a target for this run: Failure if another target of the run
    // names the same file, if something not a regular file is in its place,
    // if it exists and may not be replaced, or if its directory cannot take a
    // file. Cheap: for checking every target before any work.
    void check(const std::string& target);
    // An empty temporary file in the target's directory, for the writer to
    // open by the returned path; claims the target if check() did not.
    // Thread-safe.
    std::string create(const std::string& target);
    // Moves every temporary file onto its target, in the order created, and
    // returns the targets. Without --force a target that appeared meanwhile
    // fails the commit and the files already moved are taken back.
    std::vector<std::string> commit();
    // Removes the temporary files now, and any create() after; for the
    // clean-up on a signal.
    void removeTemporaries();

private:
    struct Entry {
        std::string temp, target;
    };
    void checkLocked(const std::string& target, const std::string& canonical);

    bool force_;
    std::mutex mutex_;
    struct Claim {
        std::string target;  // as given
        bool created;
    };
    std::map<std::string, Claim> claimed_;  // by the file's own name
    std::vector<Entry> entries_;
    bool ended_ = false;
};

// Removes the temporary files of every PendingFiles alive.
void removeAllPending();

}  // namespace kalviro::cli
