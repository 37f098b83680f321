// A file that replaces another one only when it is complete.
#pragma once

#include <sys/types.h>

#include <memory>
#include <string>

namespace vorlandi::cli {

// The mode of new files, reduced by the mask of the process.
inline constexpr mode_t kReadAndWriteForAll = 0666;

// Written under a temporary name in the folder of its target. Unless it is committed, the target stays as it was and
// the temporary file is removed, also when a signal ends the program. Only one may exist at a time.
class PendingFile {
public:
    // Null if the target has to be written directly: a device, a pipe or a directory, a file that may not be written,
    // or a folder in which no file can be made. Symbolic links are followed, so that they stay. The mode and owner of
    // an existing target are kept. Throws an OutputError.
    static std::unique_ptr<PendingFile> beside(const std::string& target);

    ~PendingFile();
    PendingFile(const PendingFile&) = delete;
    PendingFile& operator=(const PendingFile&) = delete;

    int descriptor() const { return descriptor_; }

    // Closes the file and puts it in the target's place. Returns 0 or an errno.
    int commit();

private:
    PendingFile(int descriptor, std::string target);

    int descriptor_;
    std::string target_;
};

}  // namespace vorlandi::cli
