// Regular files, pipes and standard input before they are loaded: are they packed, and what do they hold?
#pragma once

#include <cstdint>
#include <string>

#include "archives/Loading.hpp"

namespace vorlandi::cli {

class InputFile {
public:
    // Opens a regular file, or a pipe, whose first bytes are consumed, and looks at its first bytes. Anything else
    // counts as not packed and is left to the library.
    explicit InputFile(const std::string& name);

    // Standard input, whose first bytes are consumed.
    InputFile();

    // What a file holds, as a stream that has been read to its end.
    struct Content {
        const std::string& bytes;
    };
    explicit InputFile(Content content);

    ~InputFile();
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;

    const archives::Packing& packing() const { return packing_; }
    const archives::Source& source() const { return source_; }

    // Must the rest be read from here, because the bytes already read can't be read again?
    bool isStream() const { return isStream_; }

    // Reads the rest of a pipe or of standard input, so that source().begin has all of it. Returns 0 or an errno: EFBIG
    // for more than 4 GiB.
    int readAll();

private:
    void beginStream();
    int readUpTo(std::size_t size);

    archives::Source source_;
    archives::Packing packing_;
    bool isStream_ = false;
};

}  // namespace vorlandi::cli
