#include "archives/Member.hpp"

#include <charconv>

#include "vorlandi/services.h"
#include "vorlandi/vorlandi.h"

namespace vorlandi::archives {
namespace {

// Receives events before the thread's read observer for as long as it lives.
class Collector {
public:
    explicit Collector(LoadedMember& member) : member_(member) {
        VorlanGetReadObserver(&next_, &nextData_);
        VorlanSetReadObserver(hear, this);
    }
    ~Collector() { VorlanSetReadObserver(next_, nextData_); }
    Collector(const Collector&) = delete;
    Collector& operator=(const Collector&) = delete;

private:
    static void hear(std::int32_t event, const char* file, std::int32_t fileLength, std::int64_t line, const char* text,
                     std::int32_t length, void* self) noexcept {
        auto& [member, next, nextData] = *static_cast<Collector*>(self);
        const std::string_view said(text, static_cast<std::size_t>(length));
        if (event == VORLAN_READ_MISSING) {
            member.cards.push_back({line, std::string(said)});
            return;
        }
        if (event == VORLAN_READ_STORED) {
            std::int64_t key = 0;
            std::from_chars(said.data(), said.data() + said.size(), key);
            member.keys.push_back(key);
        }
        if (next != nullptr) next(event, file, fileLength, line, text, length, nextData);
    }

    LoadedMember& member_;
    VorlanReadObserver next_ = nullptr;
    void* nextData_ = nullptr;
};

}  // namespace

LoadedMember loadMember(std::string_view bytes, const std::string& name, std::int32_t options) {
    LoadedMember member;
    const Collector collector(member);
    member.status = VorlanLoadBytes(bytes.data(), static_cast<std::int64_t>(bytes.size()), name.c_str(),
                                    options | VORLAN_LOAD_NO_CARDS, 0, nullptr, nullptr);
    return member;
}

}  // namespace vorlandi::archives
