#include "shell/Intents.h"

#include "shell/AppDelegate.h"

namespace kasto {

const Intent StartRecordingIntent{"start-recording", "Start Recording",
                                  [](AppDelegate& controller) { controller.startRecording(); }};

const Intent StopRecordingIntent{"stop-recording", "Stop Recording",
                                 [](AppDelegate& controller) { controller.stopFromCommand(); }};

const Intent ToggleRecordingIntent{"toggle-recording", "Toggle Recording",
                                   [](AppDelegate& controller) { controller.toggleRecording(); }};

const Intent* findIntent(std::string_view id) {
    for (const auto* intent : {&StartRecordingIntent, &StopRecordingIntent, &ToggleRecordingIntent})
        if (intent->id == id) return intent;
    return nullptr;
}

void performIntent(std::string_view id, AppDelegate& controller) {
    if (const auto* intent = findIntent(id)) intent->perform(controller);
}

std::vector<Shortcut> KastoShortcuts::shortcuts(std::string_view applicationName) {
    const std::string name(applicationName);
    return {
        {.actionId = std::string(StartRecordingIntent.id),
         .shortTitle = "Start Recording",
         .symbol = "record.circle",
         .phrases = {"Start recording in " + name, "Start a " + name + " recording",
                     "Record my screen with " + name}},
        {.actionId = std::string(StopRecordingIntent.id),
         .shortTitle = "Stop Recording",
         .symbol = "stop.fill",
         .phrases = {"Stop recording in " + name, "Stop the " + name + " recording", "Finish my " + name}}};
}

}  // namespace kasto
