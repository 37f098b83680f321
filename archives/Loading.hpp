// Loads ephemerides from compressed files and archives (gzip, xz, zstd, zip and tar) without unpacking them to disk.
//
// Each member is loaded from memory under the name "archive/member"; a compressed single file under its own name
// without .gz, .xz or .zst. Cards in a member name other members, beside it or from the top of the archive: they set
// the tags of these members, which are loaded anyway.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "archives/Member.hpp"
#include "archives/Packing.hpp"
#include "vorlandi/vorlandi.h"

namespace vorlandi::archives {

inline constexpr std::int64_t kMostMemberBytes = std::int64_t{1} << 30;

// An open file. The bytes already read from it are in `begin`; if that is not empty, the file is not repositioned.
struct Source {
    int descriptor = -1;
    std::string begin;
};

struct Request {
    std::string name;                              // of the file
    std::int32_t options = VORLAN_LOAD_PRACTICAL;  // of VorlanLoadBytes; VORLAN_LOAD_NO_CARDS is added
    std::int64_t mostMemberBytes = kMostMemberBytes;
};

// Learns what becomes of the members. While one is loaded, the thread's read observer receives its events except
// VORLAN_READ_MISSING.
class Client {
public:
    virtual ~Client() = default;

    virtual void memberBegins(const std::string& name) = 0;
    virtual void memberEnds(const std::string& name, const LoadedMember& member) = 0;

    // Something is not loaded. `where` names a member, with a line if it is a card, or the archive.
    virtual void refused(const std::string& where, const std::string& reason) = 0;
};

// Loads all members, in the order of the archive. Returns the keys of the records stored. A damaged member is not
// loaded; what came before it stays loaded. Whether a tar archive in gzip is damaged is known after its last member.
std::vector<std::int64_t> load(const Request& request, const Source& source, Client& client);

}  // namespace vorlandi::archives
