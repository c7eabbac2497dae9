#pragma once

#include "base/Result.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace kasto {

// A per-user map of keys to typed values (boolean, integer, number, string) in one JSON file.
//
// Any thread may call any operation. Reading costs a lock and no file access: the file is read once, at
// construction. A write changes the value at once for every reader and replaces the file atomically (written
// aside, synced, renamed) before it returns; one that fails is logged, once per cause, and the value holds
// for this process. Keys this program does not know keep their values and types. The file and the folders
// made for it are the user's alone; where the file is a link, what it links to is replaced.
//
// A file that is not a JSON object is set aside as "<name>.damaged-<time>" beside it, reported in the log,
// and the store starts empty. A file that cannot be read, or not be set aside, is left as it is: the store
// starts empty, says so in the log and saves nothing.
class PreferenceStore {
public:
    explicit PreferenceStore(std::filesystem::path file);
    ~PreferenceStore();
    PreferenceStore(const PreferenceStore&) = delete;
    PreferenceStore& operator=(const PreferenceStore&) = delete;

    // The value under the key, if there is one and it has the type asked for: true is not 1, 60.0 is not an
    // integer.
    std::optional<bool> boolean(std::string_view key) const;
    std::optional<std::int64_t> integer(std::string_view key) const;
    std::optional<double> number(std::string_view key) const;  // integers too
    std::optional<std::string> string(std::string_view key) const;

    void set(std::string_view key, bool value);
    void set(std::string_view key, std::int64_t value);
    void set(std::string_view key, int value) { set(key, std::int64_t{value}); }
    void set(std::string_view key, std::uint32_t value) { set(key, std::int64_t{value}); }
    // A number that is not finite is no value: it removes the key.
    void set(std::string_view key, double value);
    // Text that is not UTF-8 holds for this process only; the file loses the key.
    void set(std::string_view key, std::string_view value);
    void set(std::string_view key, const char* value) { set(key, std::string_view(value)); }
    void remove(std::string_view key);

    // Calls `changed` with the key after each change, on the thread that made it and under no lock, for as
    // long as the result lives. Let it go on the thread that writes: a change on another thread may be under
    // way.
    using Observer = std::function<void(std::string_view key)>;
    [[nodiscard]] std::shared_ptr<const void> observe(Observer changed);

    // As given at construction.
    const std::filesystem::path& file() const;

private:
    class Data;
    std::unique_ptr<Data> data_;
};

}  // namespace kasto
