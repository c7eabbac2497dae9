#pragma once

#include "platform/StatusItem.h"

#include <map>

namespace kasto::test {

// Items as a test sees and clicks them, by their id.
struct FakeStatusItems : StatusItems {
    struct Shown {
        StatusItemActions actions;
        StatusImage image = StatusImage::idle;
        std::string description, title;
    };
    std::map<std::string, Shown> shown;

    struct Item : StatusItem {
        Item(FakeStatusItems& items, const std::string& itemId) : all(items), id(itemId) {}
        ~Item() override { all.shown.erase(id); }
        void setImage(StatusImage image, const std::string& description) override {
            all.shown[id].image = image;
            all.shown[id].description = description;
        }
        void setTitle(const std::string& title) override { all.shown[id].title = title; }
        FakeStatusItems& all;
        std::string id;
    };

    std::unique_ptr<StatusItem> make(const std::string& id, StatusItemActions actions) override {
        shown[id] = {.actions = std::move(actions), .description = {}, .title = {}};
        return std::make_unique<Item>(*this, id);
    }
};

}  // namespace kasto::test
