// Screen framework: what the screens use of the program — the stack they live on and the services
// the application object owns. The application makes it once its services are final and hands it
// to each screen it creates; a screen keeps the reference for its life.
#pragma once

namespace brovant {

struct AppState;
class BackupService;
class CaliperReader;
class Clock;
class DeviceControls;
class DeviceSession;
class MessageDialogs;
class ScreenHost;
class ScreenStack;
class TransferChannels;

struct ScreenServices {
    ScreenStack& stack;
    DeviceSession& session;
    AppState& state;
    Clock& clock;
    MessageDialogs& messages;
    // The transfer channels the settings in force choose.
    TransferChannels& channels;
    // Backlight, volume, battery and the rest of the handheld.
    DeviceControls& device;
    BackupService& backup;
    CaliperReader* caliper; // null when the program runs none
    // What the screens' long jobs need of the program (cursor, repaint).
    ScreenHost& host;
};

} // namespace brovant
