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

#include <functional>
#include <map>

namespace brovant::test {
namespace {

QString utf8(const QByteArray& bytes)
{
    return QString::fromUtf8(bytes);
}

using Conversion = std::function<QString(const QList<QByteArray>& args)>;

const std::map<QByteArray, Conversion> kConversions = {
    {"number",
     [](const auto& a) {
         return QString::number(ListFileImport::number(utf8(a[0]), a.value(1).toInt()));
     }},
    {"ftpserver",
     [](const auto& a) {
         const std::optional<FtpServer> server = FtpServer::parse(utf8(a[0]));
         if (!server)
             return QStringLiteral("-");
         return QStringLiteral("%1 %2 %3")
             .arg(server->host)
             .arg(server->port)
             .arg(server->tls ? "tls" : "plain");
     }},
    {"ftpurl",
     [](const auto& a) {
         return FtpServer::parse(utf8(a[0])).value_or(FtpServer{}).baseUrl();
     }},
    {"listname",
     [](const auto& a) {
         return QString::fromLatin1(listname::isFileName(utf8(a[0])) ? "yes" : "no");
     }},
    {"header",
     [](const auto& a) {
         return frames::headerFileName(a[0]).value_or(QStringLiteral("-"));
     }},
    {"namefield",
     [](const auto& a) {
         return frames::headerNameField(a[0]);
     }},
    {"quoted",
     [](const auto& a) {
         return ListCsvExport::quoted(utf8(a[0]));
     }},
    {"guarded",
     [](const auto& a) {
         return ListCsvExport::guarded(utf8(a[0]));
     }},
    {"hundredths",
     [](const auto& a) {
         return ListCsvExport::hundredths(a[0].toLongLong());
     }},
    {"route",
     [](const auto& a) {
         const char* const names[] = {"ActiveSync", "Cable", "Modem", "Ftp"};
         return QStringLiteral("%1 %2").arg(
             names[int(SettingsChannels::sendRoute(a[0].toInt(), a.value(1).toInt()))],
             names[int(SettingsChannels::receiveRoute(a.value(1).toInt()))]);
     }},
};

TEST(TextCases, ConvertAsWritten)
{
    const QList<Case> cases = readCases(QStringLiteral("transfer/data/text_cases.txt"));
    for (Case c : cases) {
        const auto conversion = kConversions.find(c.fields.takeFirst());
        ASSERT_TRUE(conversion != kConversions.end() && c.fields.size() >= 2)
            << c.where().constData();
        const QString expected = utf8(c.fields.takeLast());
        EXPECT_EQ(conversion->second(c.fields), expected) << c.where().constData();
    }
    EXPECT_EQ(cases.size(), 151);
}

} // namespace
} // namespace brovant::test
