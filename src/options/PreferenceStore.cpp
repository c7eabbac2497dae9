#include "options/PreferenceStore.h"

#include "base/Guarded.h"
#include "base/SerialQueue.h"
#include "base/log/DebugLog.h"
#include "options/PreferenceFile.h"

#include <cmath>
#include <limits>
#include <map>
#include <mutex>
#include <set>
#include <utility>
#include <vector>

namespace kasto {

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;

// Values by key; none: the key is to be removed.
using Changes = std::map<std::string, std::optional<Json>, std::less<>>;

bool isUtf8(const Json& text) {
    try {
        (void)text.dump();
        return true;
    } catch (const Json::type_error&) {
        return false;
    }
}

// Equal in type too: the library's own comparison takes 60 and 60.0 for equal.
bool isSame(const Json& a, const Json& b) { return a == b && a.is_number_float() == b.is_number_float(); }

bool isSame(const std::optional<Json>& a, const std::optional<Json>& b) {
    return a && b ? isSame(*a, *b) : a.has_value() == b.has_value();
}

std::optional<Json> valueIn(const Json& object, std::string_view key) {
    const auto found = object.find(key);
    return found == object.end() ? std::nullopt : std::optional(*found);
}

void applyChanges(const Changes& changes, Json& object) {
    for (const auto& [key, value] : changes) {
        if (value) {
            object[key] = *value;
        } else {
            object.erase(key);
        }
    }
}

// The keys under which the two objects differ.
std::set<std::string> differences(const Json& a, const Json& b) {
    std::set<std::string> keys;
    for (const auto* object : {&a, &b})
        for (const auto& item : object->items())
            if (!isSame(valueIn(a, item.key()), valueIn(b, item.key()))) keys.insert(item.key());
    return keys;
}

std::optional<std::int64_t> integerOf(const Json& value) {
    using Limits = std::numeric_limits<std::int64_t>;
    if (value.is_number_unsigned() && !std::in_range<std::int64_t>(value.get<std::uint64_t>()))
        return std::nullopt;
    if (value.is_number_integer()) return value.get<std::int64_t>();
    if (!value.is_number_float()) return std::nullopt;
    const auto number = value.get<double>();
    // The upper limit itself is rounded up to 2^63, which is out of range.
    const bool isInRange = number >= double(Limits::min()) && number < double(Limits::max());
    if (!isInRange || number != std::trunc(number)) return std::nullopt;
    return static_cast<std::int64_t>(number);
}

}  // namespace

// Changes go into the values at once and into the file by a job of the queue. The lock of the values is held
// only to copy or change them; that of the file while it is read, but not while it is written. The values'
// lock may be taken under the file's, never the other way round.
class PreferenceStore::Data {
public:
    explicit Data(const fs::path& file) : file_(File{PreferenceFile(file)}) { load(); }

    // Calls `read` with the value under the key; none if there is no such key.
    template <class Read>
    auto value(std::string_view key, Read read) const {
        return values_.with([&](const Values& values) -> decltype(read(values.current)) {
            const auto found = values.current.find(key);
            if (found == values.current.end()) return std::nullopt;
            return read(*found);
        });
    }

    // Without a value the key is removed.
    void set(std::string_view key, const std::optional<Json>& value) {
        const bool mayBeSaved = !value || isUtf8(*value);
        const bool isChange = values_.with([&](Values& values) {
            if (isSame(valueIn(values.current, key), value)) return false;
            values.change(std::string(key), value, mayBeSaved);
            return true;
        });
        save();
        if (!isChange) return;
        if (!mayBeSaved)
            DebugLog::log("preferences: the text for " + std::string(key) + " is not UTF-8 and is not saved");
        tellObservers(key);
    }

    std::shared_ptr<const void> observe(Observer changed) {
        auto observer = std::make_shared<const Observer>(std::move(changed));
        observers_.with([&](auto& observers) {
            std::erase_if(observers, [](const auto& former) { return former.expired(); });
            observers.push_back(observer);
        });
        return observer;
    }

    void readAgain() {
        const auto changed = file_.with([&](File& file) -> std::set<std::string> {
            (void)file.update();  // a file that is damaged may be half written; its next change is seen too
            if (!std::exchange(file.isNewer, false)) return {};
            return values_.with([&](Values& values) { return values.takeOver(file.content); });
        });
        for (const auto& key : changed) tellObservers(key);
    }

    void flush() { queue_.drain(); }

private:
    struct Values {
        Json current = Json::object();
        Changes unsaved;
        Changes processOnly;  // texts that the file cannot hold
        bool isSaveQueued = false;

        void change(const std::string& key, const std::optional<Json>& value, bool mayBeSaved) {
            applyChanges({{key, value}}, current);
            unsaved[key] = mayBeSaved ? value : std::nullopt;
            processOnly.erase(key);
            if (!mayBeSaved) processOnly[key] = value;
        }

        // The changes are in the file now. Those that were overwritten meanwhile are still to be saved.
        void forget(const Changes& saved) {
            for (const auto& [key, value] : saved)
                if (const auto found = unsaved.find(key);
                    found != unsaved.end() && isSame(found->second, value))
                    unsaved.erase(found);
        }

        // Becomes what the file holds, but for what was set here since. The keys whose values differ.
        std::set<std::string> takeOver(Json content) {
            applyChanges(unsaved, content);
            applyChanges(processOnly, content);
            auto changed = differences(current, content);
            current = std::move(content);
            return changed;
        }
    };

    struct File {
        PreferenceFile file;
        Json content = Json::object();
        bool isNewer = false;  // the content has changes that the values do not have yet
        bool mayWrite = true;

        // Takes over the file if it has changed. False if it is damaged, which changes nothing.
        Result<bool> update() {
            if (!file.hasChanged()) return true;
            auto read = file.read();
            if (!read) return std::unexpected(read.error());
            if (!*read) return false;
            content = std::move(**read);
            isNewer = true;
            return true;
        }

        // Like `update`, and a damaged file is set aside.
        Result<void> makeUsable() {
            const auto updated = update();
            if (!updated) return std::unexpected(updated.error());
            return *updated ? Result<void>() : file.setAside();
        }
    };

    // From a copy of the list and without a lock, because observers may write and observe.
    void tellObservers(std::string_view key) {
        for (const auto& each : observers_.copy())
            if (const auto observer = each.lock()) (*observer)(key);
    }

    void load() {
        file_.with([&](File& file) {
            const auto usable = file.makeUsable();
            file.mayWrite = usable.has_value();
            file.isNewer = false;
            if (!usable)
                DebugLog::log("preferences: changes will not be saved: " + usable.error().description);
            values_.with([&](Values& values) { values.current = file.content; });
        });
    }

    // Queues a save if there is something to save and none is queued.
    void save() {
        const bool isNeeded = values_.with([](Values& values) {
            return !values.unsaved.empty() && !std::exchange(values.isSaveQueued, true);
        });
        if (isNeeded) queue_.async([this] { saveNow(); });
    }

    // On the queue.
    void saveNow() {
        const auto changes = values_.with([](Values& values) {
            values.isSaveQueued = false;
            return values.unsaved;
        });
        if (!file_.with([](const File& file) { return file.mayWrite; })) return;
        const auto saved = write(changes);
        if (saved) values_.with([&](Values& values) { values.forget(changes); });
        const std::string failed = saved ? "" : saved.error().description;
        if (!saved && failed != loggedFailure_) DebugLog::log("preferences: not saved: " + failed);
        loggedFailure_ = failed;
    }

    Result<void> write(const Changes& changes) {
        const auto usable = file_.with([&](File& file) {
            auto result = file.makeUsable();
            if (result) applyChanges(changes, file.content);
            return result;
        });
        if (!usable) return usable;
        // Without the lock, because writing waits for the disk. No other job writes meanwhile.
        const auto copy = file_.copy();
        if (auto written = copy.file.write(copy.content); !written) return written;
        file_.with([](File& file) { file.file.noteWritten(); });
        return {};
    }

    Guarded<File> file_;
    Guarded<Values> values_;
    Guarded<std::vector<std::weak_ptr<const Observer>>> observers_;
    std::string loggedFailure_;  // used on the queue only
    SerialQueue queue_{"app.tolvane.kasto.options",
                       QueuePriority::utility};  // goes first: its jobs use the rest
};

PreferenceStore::PreferenceStore(const fs::path& file) : data_(std::make_unique<Data>(file)) {}

PreferenceStore::~PreferenceStore() = default;

std::optional<bool> PreferenceStore::boolean(std::string_view key) const {
    return data_->value(key, [](const Json& value) {
        return value.is_boolean() ? std::optional(value.get<bool>()) : std::nullopt;
    });
}

std::optional<std::int64_t> PreferenceStore::integer(std::string_view key) const {
    return data_->value(key, integerOf);
}

std::optional<double> PreferenceStore::number(std::string_view key) const {
    return data_->value(key, [](const Json& value) {
        return value.is_number() ? std::optional(value.get<double>()) : std::nullopt;
    });
}

std::optional<std::string> PreferenceStore::string(std::string_view key) const {
    return data_->value(key, [](const Json& value) {
        return value.is_string() ? std::optional(value.get<std::string>()) : std::nullopt;
    });
}

void PreferenceStore::set(std::string_view key, bool value) { data_->set(key, value); }

void PreferenceStore::set(std::string_view key, std::int64_t value) { data_->set(key, value); }

void PreferenceStore::set(std::string_view key, double value) {
    data_->set(key, std::isfinite(value) ? std::optional<Json>(value) : std::nullopt);
}

void PreferenceStore::set(std::string_view key, std::string_view value) { data_->set(key, value); }

void PreferenceStore::remove(std::string_view key) { data_->set(key, std::nullopt); }

std::shared_ptr<const void> PreferenceStore::observe(Observer changed) {
    return data_->observe(std::move(changed));
}

void PreferenceStore::readAgain() { data_->readAgain(); }

void PreferenceStore::flush() { data_->flush(); }

}  // namespace kasto
