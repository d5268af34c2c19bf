// The office at the other end of a transfer channel: it takes the files of "\Export" when it
// delivers, puts what it holds into "\Import" when asked to, and has no configuration to fetch.
#pragma once

#include "platform/DeviceRoot.h"
#include "transfer/TransferChannels.h"

#include <QByteArray>
#include <QFile>
#include <QStringList>

#include <map>

namespace brovant::test {

struct OfficeChannel final : TransferChannels {
    explicit OfficeChannel(const DeviceRoot* root = nullptr)
        : root(root)
    {
    }
    bool send() override
    {
        ++sends;
        seen = root->find(QStringLiteral("\\Export\\*.*"));
        for (const QString& name : seen) {
            QFile file(root->hostPath("\\Export\\" + name));
            if (delivers && file.open(QIODevice::ReadOnly))
                held[name] = file.readAll();
        }
        return delivers;
    }
    bool receive() override
    {
        ++receives;
        for (const auto& [name, bytes] : held) {
            QFile file(root->hostPath("\\Import\\" + name));
            if (file.open(QIODevice::WriteOnly))
                file.write(bytes);
        }
        return delivers;
    }
    bool fetchConfiguration() override { return false; }

    const DeviceRoot* root;
    bool delivers = true;
    int sends = 0;
    int receives = 0;
    QStringList seen; // what "\Export" held at the last send
    std::map<QString, QByteArray> held;
};

// A list file as the office PC writes it: header line, "001" with its three labels, trees.
inline QByteArray officeList(const QByteArray& listNo, int trees)
{
    const QByteArray label(20, ' ');
    QByteArray file = "TD0" + listNo.leftJustified(8) + ".DAT\r\n";
    file += "001" + listNo.leftJustified(8) + label + "01.05.2026" + label + "0.95" + label
            + "WR1     T00300\r\n";
    for (int t = 1; t <= trees; ++t)
        file += "10A0000" + QByteArray::number(t) + " 1FI  35\r\n";
    return file;
}

} // namespace brovant::test
