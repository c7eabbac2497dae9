#include "options/PreferenceFile.h"

#include "base/files/Files.h"
#include "base/log/DebugLog.h"
#include "base/log/Timestamp.h"

#include <ctime>
#include <string>
#include <system_error>
#include <tuple>
#include <utility>

namespace kasto {

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;

constexpr int kIndent = 4;

// Options need one level; keys that this program does not know may have a few. The library writes nested
// values by recursion, so very deep ones would overflow the stack.
constexpr int kMaxDepth = 100;

fs::path resolved(const fs::path& file) {
    std::error_code ignored;
    const auto target = fs::canonical(file, ignored);
    return target.empty() ? file : target;
}

std::optional<Json> parsedObject(const std::string& text) {
    bool isTooDeep = false;
    const auto keepUpToDepth = [&](int depth, Json::parse_event_t, const Json&) {
        isTooDeep = isTooDeep || depth > kMaxDepth;
        return !isTooDeep;
    };
    auto object = Json::parse(text, keepUpToDepth, false);
    if (isTooDeep || !object.is_object()) return std::nullopt;
    return object;
}

}  // namespace

PreferenceFile::PreferenceFile(const fs::path& file) : target_(resolved(file)) {}

bool PreferenceFile::Look::operator==(const Look& other) const {
    const auto fields = [](const Look& look) {
        return std::tuple(look.device, look.inode, look.size, look.modified.tv_sec, look.modified.tv_nsec);
    };
    return fields(*this) == fields(other);
}

PreferenceFile::Look PreferenceFile::look() const {
    struct stat found = {};
    if (stat(target_.c_str(), &found) != 0) return {};
    return {found.st_dev, found.st_ino, found.st_size, found.st_mtim};
}

Result<std::optional<Json>> PreferenceFile::read() {
    // Looked at before reading, so that a change while it is read is noticed later.
    const auto found = look();
    const auto content = readWholeFile(target_);
    if (!content) return std::unexpected(content.error());
    auto object = *content ? parsedObject(**content) : Json::object();
    if (object) seen_ = found;
    return object;
}

Result<void> PreferenceFile::setAside() const {
    std::string stamp = isoTimestamp(std::time(nullptr));
    std::erase_if(stamp, [](char c) { return c == ':' || c == '-'; });
    const std::string wanted = target_.string() + ".damaged-" + stamp;
    fs::path aside = wanted;
    std::error_code error;
    for (int n = 2; fs::exists(fs::symlink_status(aside, error)); ++n)
        aside = wanted + "-" + std::to_string(n);
    fs::rename(target_, aside, error);
    if (error) return failure("set aside " + target_.string() + ": " + error.message(), error.value());
    DebugLog::log("preferences: " + target_.string() + " is damaged, kept as " + aside.string());
    return {};
}

Result<void> PreferenceFile::write(const Json& object) const {
    return replaceFile(target_, object.dump(kIndent) + "\n");
}

}  // namespace kasto
