// Admin tool: the screens' transfers from the command line. "send" and "receive" run the list
// screen's Send and Receive over the channel the transfer settings choose (ActiveSync, cable,
// modem or FTP), "fetch-config" runs the settings screen's configuration reload with the file
// fetched by FTP. Serial ports are opened with termios through the root's dev/COMn links, where
// the program opens them with Qt SerialPort; everything else is the screens' own code.
#pragma once

#include "transfer/CableChannel.h"

#include <QString>
#include <QTextStream>

class QCommandLineParser;

namespace brovant {

class DeviceRoot;
class DeviceSession;
class MessageDialogs;
class SettingsStore;

// Lines for the tool's command list.
QString channelCommandsHelp();
// Runs the command the parser holds; returns the exit status (0 delivered, 1 failed, with the
// messages on the error stream), or -1 when it is not one of these.
int runChannelCommand(DeviceSession& session, const QCommandLineParser& parser, QTextStream& out,
                      QTextStream& err);

// The channel's opener on termios with the line settings of section DUE as they are when the
// port is opened; shows the device's notice when the port does not open. `root`, `store` and
// `dialogs` must outlive the opener.
CableChannel::PortOpener posixSerialOpener(const DeviceRoot& root, const SettingsStore& store,
                                           MessageDialogs& dialogs);

} // namespace brovant
