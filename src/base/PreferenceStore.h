#pragma once

#include "base/Result.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace kasto {

// A per-user map of keys to typed values (boolean, integer, number, string) in one JSON file.
//
// Any thread may call any operation. Reading costs a lock and no file access: the file is read once, at
// construction. A write changes the value at once for every reader and replaces the file atomically (written
// aside, synced, renamed) before it returns; one that fails is logged, and the value holds for this process.
// Keys this program does not know keep their values. A file that is not valid JSON is set aside as
// "<name>.damaged-<time>" beside it, reported in the log, and the store starts empty.
class PreferenceStore {
public:
    explicit PreferenceStore(std::filesystem::path file);
    ~PreferenceStore();
    PreferenceStore(const PreferenceStore&) = delete;
    PreferenceStore& operator=(const PreferenceStore&) = delete;

    // The value under the key, if there is one and it has the type asked for.
    std::optional<bool> boolean(std::string_view key) const;
    std::optional<std::int64_t> integer(std::string_view key) const;
    std::optional<double> number(std::string_view key) const;  // integers too
    std::optional<std::string> string(std::string_view key) const;

    void set(std::string_view key, bool value);
    void set(std::string_view key, std::int64_t value);
    void set(std::string_view key, double value);
    void set(std::string_view key, std::string_view value);
    void set(std::string_view key, const char* value) { set(key, std::string_view(value)); }
    void remove(std::string_view key);

    const std::filesystem::path& file() const;

private:
    class Data;
    std::unique_ptr<Data> data_;
};

}  // namespace kasto
