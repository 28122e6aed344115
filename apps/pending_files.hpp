// Outputs are written to a temporary file beside their target and renamed
// into place only when the whole run has succeeded, so an interrupted or
// failed run never leaves a truncated file. An existing target is not
// replaced without --force.
#pragma once

#include <mutex>
#include <string>
#include <vector>

namespace kalviro::cli {

class PendingFiles {
public:
    explicit PendingFiles(bool force) : force_(force) {}
    ~PendingFiles();  // removes every temporary file not yet committed
    PendingFiles(const PendingFiles&) = delete;
    PendingFiles& operator=(const PendingFiles&) = delete;

    // Failure if the target exists and may not be replaced, or its directory
    // cannot take a file. Cheap: for checking every target before any work.
    void check(const std::string& target) const;
    // An empty temporary file in the target's directory, for the writer to
    // open by the returned path. Thread-safe.
    std::string create(const std::string& target);
    // Moves every temporary file onto its target, in the order created.
    std::vector<std::string> commit();

private:
    struct Entry {
        std::string temp, target;
    };
    bool force_;
    std::mutex mutex_;
    std::vector<Entry> entries_;
};

// Removes the temporary files of every PendingFiles alive when SIGINT or
// SIGTERM arrives, then lets the signal end the program.
void removePendingOnSignal();

}  // namespace kalviro::cli
