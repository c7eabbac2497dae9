#include "options/PreferenceStore.h"

#include "base/DebugLog.h"
#include "base/Files.h"
#include "base/Guarded.h"
#include "base/Timestamp.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <ctime>
#include <mutex>
#include <set>
#include <utility>
#include <vector>

namespace kasto {

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;

constexpr int kIndent = 4;

// What `file` stands for behind links; itself where it is none or leads nowhere.
fs::path linked(const fs::path& file) {
    std::error_code ignored;
    const auto target = fs::canonical(file, ignored);
    return target.empty() ? file : target;
}

// Moves the file to a name beside it that is not taken; the new name, or why it stayed.
Result<fs::path> setAside(const fs::path& file) {
    std::string stamp = isoTimestamp(std::time(nullptr));
    std::erase_if(stamp, [](char c) { return c == ':' || c == '-'; });
    const std::string wanted = file.string() + ".damaged-" + stamp;
    fs::path aside = wanted;
    std::error_code error;
    for (int n = 2; fs::exists(fs::symlink_status(aside, error)); ++n)
        aside = wanted + "-" + std::to_string(n);
    fs::rename(file, aside, error);
    if (error) return failure("set aside " + file.string() + ": " + error.message(), error.value());
    return aside;
}

bool isUtf8(const Json& text) {
    try {
        (void)text.dump();
        return true;
    } catch (const Json::type_error&) {
        return false;
    }
}

template <class T>
std::optional<T> typed(const Json& value, bool isOfType) {
    if (!isOfType) return std::nullopt;
    return value.get<T>();
}

// Equal in type too: the library takes 60 and 60.0 for equal.
bool isSame(const Json& a, const Json& b) { return a == b && a.is_number_float() == b.is_number_float(); }

}  // namespace

class PreferenceStore::Data {
public:
    explicit Data(fs::path givenFile) : file(std::move(givenFile)), target_(linked(file)) { load(); }

    const fs::path file;

    // Calls `read` with the value under the key; none if there is no such key.
    template <class Read>
    auto value(std::string_view key, Read read) const -> decltype(read(std::declval<const Json&>())) {
        const std::scoped_lock held(valuesLock_);
        const auto found = values_.find(key);
        if (found == values_.end()) return std::nullopt;
        return read(*found);
    }

    void set(std::string_view key, Json value) {
        {
            const std::scoped_lock writing(writeLock_);
            const auto found = values_.find(key);
            if (isSaved_ && found != values_.end() && isSame(*found, value)) return;
            if (isUtf8(value))
                forProcessOnly_.erase(std::string(key));
            else if (forProcessOnly_.insert(std::string(key)).second)
                DebugLog::log("preferences: the text for " + std::string(key) +
                              " is not UTF-8 and is not saved");
            {
                const std::scoped_lock held(valuesLock_);
                values_[std::string(key)] = std::move(value);
            }
            save();
        }
        tellObservers(key);
    }

    void remove(std::string_view key) {
        {
            const std::scoped_lock writing(writeLock_);
            if (isSaved_ && !values_.contains(key)) return;
            forProcessOnly_.erase(std::string(key));
            {
                const std::scoped_lock held(valuesLock_);
                values_.erase(key);
            }
            save();
        }
        tellObservers(key);
    }

    std::shared_ptr<const void> observe(Observer changed) {
        const auto observer = std::make_shared<const Observer>(std::move(changed));
        observers_.with([&](auto& observers) {
            std::erase_if(observers, [](const auto& former) { return former.expired(); });
            observers.push_back(observer);
        });
        return observer;
    }

private:
    // From a copy of the list and without a lock, because observers may write and observe.
    void tellObservers(std::string_view key) {
        for (const auto& each : observers_.copy())
            if (const auto observer = each.lock()) (*observer)(key);
    }

    void load() {
        const auto content = readWholeFile(target_);
        if (!content) return leaveAlone(content.error());
        if (!*content) return;
        Json read = Json::parse(**content, nullptr, false);
        if (read.is_object()) {
            values_ = std::move(read);
            return;
        }
        const auto aside = setAside(target_);
        if (!aside) return leaveAlone(aside.error());
        DebugLog::log("preferences: " + target_.string() + " is damaged, kept as " + aside->string());
    }

    void leaveAlone(const Error& error) {
        mayWrite_ = false;
        DebugLog::log("preferences: changes will not be saved: " + error.description);
    }

    // Under the write lock, which is enough to read the values: nobody else changes them.
    void save() {
        if (!mayWrite_) return;
        Json kept = values_;
        for (const auto& key : forProcessOnly_) kept.erase(key);
        const auto saved = replaceFile(target_, kept.dump(kIndent) + "\n");
        isSaved_ = saved.has_value();
        const std::string failed = saved ? "" : saved.error().description;
        if (!saved && failed != loggedFailure_) DebugLog::log("preferences: not saved: " + failed);
        loggedFailure_ = failed;
    }

    const fs::path target_;
    bool mayWrite_ = true;  // as `load` leaves it

    // Held by one writer from its change to the end of its file, so that the last file has the last value.
    std::mutex writeLock_;
    bool isSaved_ = true;
    std::set<std::string> forProcessOnly_;
    std::string loggedFailure_;

    // Held only while the map is touched: a reader never waits for the disk.
    mutable std::mutex valuesLock_;
    Json values_ = Json::object();

    Guarded<std::vector<std::weak_ptr<const Observer>>> observers_;
};

PreferenceStore::PreferenceStore(fs::path file) : data_(std::make_unique<Data>(std::move(file))) {}

PreferenceStore::~PreferenceStore() = default;

const fs::path& PreferenceStore::file() const { return data_->file; }

std::optional<bool> PreferenceStore::boolean(std::string_view key) const {
    return data_->value(key, [](const Json& value) { return typed<bool>(value, value.is_boolean()); });
}

std::optional<std::int64_t> PreferenceStore::integer(std::string_view key) const {
    return data_->value(key, [](const Json& value) {
        const bool tooLarge =
            value.is_number_unsigned() && !std::in_range<std::int64_t>(value.get<std::uint64_t>());
        return typed<std::int64_t>(value, value.is_number_integer() && !tooLarge);
    });
}

std::optional<double> PreferenceStore::number(std::string_view key) const {
    return data_->value(key, [](const Json& value) { return typed<double>(value, value.is_number()); });
}

std::optional<std::string> PreferenceStore::string(std::string_view key) const {
    return data_->value(key, [](const Json& value) { return typed<std::string>(value, value.is_string()); });
}

void PreferenceStore::set(std::string_view key, bool value) { data_->set(key, value); }

void PreferenceStore::set(std::string_view key, std::int64_t value) { data_->set(key, value); }

void PreferenceStore::set(std::string_view key, double value) {
    if (std::isfinite(value))
        data_->set(key, value);
    else
        data_->remove(key);
}

void PreferenceStore::set(std::string_view key, std::string_view value) { data_->set(key, value); }

void PreferenceStore::remove(std::string_view key) { data_->remove(key); }

std::shared_ptr<const void> PreferenceStore::observe(Observer changed) {
    return data_->observe(std::move(changed));
}

}  // namespace kasto
