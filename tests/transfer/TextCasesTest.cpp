// List file fields and names, spreadsheet cells, the FTP server setting and the channel the
// transfer settings choose, text in and text out: one case a line of data/text_cases.txt.
#include "support/CaseFile.h"
#include "support/QtPrinting.h"
#include "transfer/FtpChannel.h"
#include "transfer/ListCsvExport.h"
#include "transfer/ListFileImport.h"
#include "transfer/ListName.h"
#include "transfer/SerialFrames.h"
#include "transfer/SettingsChannels.h"

#include <gtest/gtest.h>

#include <optional>

namespace brovant::test {
namespace {

QString utf8(const QByteArray& bytes)
{
    return QString::fromUtf8(bytes);
}

// The conversion a case names, of its inputs `a`; nullopt for a name no conversion has.
std::optional<QString> convert(const QByteArray& kind, const QList<QByteArray>& a)
{
    if (kind == "number")
        return QString::number(ListFileImport::number(utf8(a[0]), a.value(1).toInt()));
    if (kind == "ftpserver") {
        const std::optional<FtpServer> server = FtpServer::parse(utf8(a[0]));
        if (!server)
            return QStringLiteral("-");
        return QStringLiteral("%1 %2 %3")
            .arg(server->host)
            .arg(server->port)
            .arg(server->tls ? "tls" : "plain");
    }
    if (kind == "ftpurl")
        return FtpServer::parse(utf8(a[0])).value_or(FtpServer{}).baseUrl();
    if (kind == "listname")
        return QString::fromLatin1(listname::isFileName(utf8(a[0])) ? "yes" : "no");
    if (kind == "header")
        return frames::headerFileName(a[0]).value_or(QStringLiteral("-"));
    if (kind == "namefield")
        return frames::headerNameField(a[0]);
    if (kind == "quoted")
        return ListCsvExport::quoted(utf8(a[0]));
    if (kind == "guarded")
        return ListCsvExport::guarded(utf8(a[0]));
    if (kind == "hundredths")
        return ListCsvExport::hundredths(a[0].toLongLong());
    if (kind == "route") {
        const char* const names[] = {"ActiveSync", "Cable", "Modem", "Ftp"};
        return QStringLiteral("%1 %2").arg(
            names[int(SettingsChannels::sendRoute(a[0].toInt(), a.value(1).toInt()))],
            names[int(SettingsChannels::receiveRoute(a.value(1).toInt()))]);
    }
    return std::nullopt;
}

TEST(TextCases, ConvertAsWritten)
{
    const QList<Case> cases = readCases(QStringLiteral("transfer/data/text_cases.txt"));
    for (Case c : cases) {
        const QByteArray kind = c.fields.takeFirst();
        ASSERT_GE(c.fields.size(), 2) << c.where().constData();
        const QString expected = utf8(c.fields.takeLast());
        EXPECT_EQ(convert(kind, c.fields).value_or(QStringLiteral("<no such conversion>")),
                  expected)
            << c.where().constData();
    }
    EXPECT_EQ(cases.size(), 151);
}

} // namespace
} // namespace brovant::test
