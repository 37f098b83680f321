// The card files of an archive: their cards name members of the same archive and carry tags for them.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "archives/Member.hpp"

namespace vorlandi::archives {

class Cards {
public:
    // A member that may be loaded or refused.
    void addMember(const std::string& path);

    // Takes the result of loading a member. `bytes` is its content, which may be released afterwards.
    void addLoaded(const std::string& path, std::string_view bytes, const LoadedMember& member);

    // Sets the tags of all members that cards name. Calls `missing` with the path of the card file, the card and its
    // line, for each name that is not in the archive.
    using Missing = std::function<void(const std::string& path, const FileCard& card)>;
    void resolve(const Missing& missing) const;

private:
    struct CardFile {
        std::string path;
        std::vector<FileCard> cards;
        std::map<std::int64_t, std::string> tags;  // by line
    };

    const std::vector<std::int64_t>* keysOf(const std::string& path, const FileCard& card) const;

    std::map<std::string, std::vector<std::int64_t>> keys_;  // of each member, by its path
    std::vector<CardFile> files_;
};

}  // namespace vorlandi::archives
