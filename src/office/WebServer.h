// Office: the HTTP side of brovant-office: the JSON API for scripts and checks (HTTP Basic
// against the store's users), on cpp-httplib's worker threads, each with its own store
// connection. Bodies above the largest list file are refused before they are read; failed
// log-ins of a name are slowed down.
#pragma once

#include "data/office/OfficeStore.h"

#include <QString>

#include <memory>

namespace brovant::office {

class WebServer {
public:
    // `publishFolder`: where a published configuration is written for the devices' FTP fetch.
    WebServer(OfficeStore& store, const QString& publishFolder);
    ~WebServer();
    WebServer(const WebServer&) = delete;
    WebServer& operator=(const WebServer&) = delete;

    // "ADDR:PORT"; port 0 picks a free one. Serves on a thread of its own until stopped.
    bool listen(const QString& address);
    QString address() const;
    void stop();

private:
    struct Impl;
    std::unique_ptr<Impl> d;
};

} // namespace brovant::office
