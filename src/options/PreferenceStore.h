#pragma once

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
// Any thread may call any operation. Neither reading nor writing a value waits for the disk: a written value
// holds at once for every reader, and a queue of the store replaces the file atomically (written aside,
// synced, renamed) a moment later. `flush` and destruction wait for that. A file that cannot be written is
// logged, once per cause, and saving is tried again with the next change.
//
// The file may be edited meanwhile, by hand or by another process. Saving changes only the keys that were
// written here since, and `readAgain` takes over what else has changed. Keys this program does not know keep
// their values and types. The file and the folders made for it are the user's alone; where the file is a
// link, what it links to is replaced.
//
// A file that is not a JSON object, or nested more than 100 levels deep, is set aside as
// "<name>.damaged-<time>" beside it, which is logged, and the store starts empty. A file that cannot be read,
// or not be set aside, is left as it is: the store starts empty, says so in the log and saves nothing.
class PreferenceStore {
public:
    explicit PreferenceStore(const std::filesystem::path& file);
    ~PreferenceStore();
    PreferenceStore(const PreferenceStore&) = delete;
    PreferenceStore& operator=(const PreferenceStore&) = delete;

    // The value under the key, if there is one and it has the type asked for: true is not 1.
    std::optional<bool> boolean(std::string_view key) const;
    std::optional<std::int64_t> integer(std::string_view key) const;  // 60.0 too, but not 60.5
    std::optional<double> number(std::string_view key) const;         // integers too
    std::optional<std::string> string(std::string_view key) const;

    void set(std::string_view key, bool value);
    void set(std::string_view key, std::int64_t value);
    void set(std::string_view key, int value) { set(key, std::int64_t{value}); }
    void set(std::string_view key, std::uint32_t value) { set(key, std::int64_t{value}); }
    // A number that is not finite cannot be stored: it removes the key.
    void set(std::string_view key, double value);
    // A text that is not UTF-8 holds for this process only; the file loses the key.
    void set(std::string_view key, std::string_view value);
    void set(std::string_view key, const char* value) { set(key, std::string_view(value)); }
    void remove(std::string_view key);

    // Calls `changed` with the key after each change, on the thread that made it and under no lock, for as
    // long as the result lives. Let it go on the thread that writes: a change on another thread may be under
    // way.
    using Observer = std::function<void(std::string_view key)>;
    [[nodiscard]] std::shared_ptr<const void> observe(Observer changed);

    // Reads the file if it has changed since the store last saw it, and tells observers which values differ.
    // A file that is damaged at this moment, or cannot be read, changes nothing.
    void readAgain();

    // Returns when all values written before are in the file, or have failed to get there.
    void flush();

private:
    class Data;
    std::unique_ptr<Data> data_;
};

}  // namespace kasto
