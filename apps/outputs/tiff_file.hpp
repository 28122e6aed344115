// TIFF files as the command writes and reads them: libtiff's complaints
// about a file go to that file's own string, never to standard error, and
// become part of the one line the command prints.
#pragma once

#include <tiffio.h>

#include <cstdint>
#include <string>

#include "outputs/pending_files.hpp"

namespace kalviro::cli {

// Options for TIFFOpenExt that keep libtiff's last error about the file in
// `error` and drop its warnings; TIFFOpenOptionsFree frees them.
TIFFOpenOptions* keepingErrors(std::string& error);

// A TIFF written as a temporary file of `files`, committed with them; each
// failure is Failure("cannot write TARGET: libtiff's complaint").
class TiffWriter {
public:
    // big: BigTIFF, which points past 4 GiB.
    TiffWriter(std::string target, PendingFiles& files, bool big);
    ~TiffWriter();
    TiffWriter(const TiffWriter&) = delete;
    TiffWriter& operator=(const TiffWriter&) = delete;

    TIFF* tiff() const { return tiff_; }
    // What every page of ours says: a page of a stack, w x h, one sample of
    // `bits` in `format` a pixel, black at zero, by kalviro. false when
    // libtiff refused a field.
    bool pageFields(uint32_t w, uint32_t h, uint16_t bits, uint16_t format) const;
    // Writes what is left and closes the file.
    void close();
    [[noreturn]] void fail() const;

private:
    std::string target_;
    std::string error_;
    TIFFOpenOptions* options_ = nullptr;
    TIFF* tiff_ = nullptr;
};

}  // namespace kalviro::cli
