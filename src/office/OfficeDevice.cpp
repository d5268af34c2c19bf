#include "office/OfficeDevice.h"

#include "data/Dataset.h"
#include "data/Schema.h"
#include "evaluation/DiameterDistribution.h"
#include "evaluation/ReportSources.h"
#include "evaluation/Reports.h"
#include "evaluation/Totals.h"
#include "evaluation/print/ReportPrinter.h"
#include "masterdata/ConfigImport.h"
#include "office/ListReading.h"
#include "platform/MessageDialogs.h"
#include "transfer/ListCsvExport.h"
#include "transfer/ListFileImport.h"

#include <QFile>
#include <QSaveFile>

namespace brovant::office {

OfficeDevice::OfficeDevice(const QByteArray& configuration)
    : m_session(std::make_unique<DeviceSession>(m_dir.path(), Database::Durability::Relaxed))
{
    if (m_session->openDatabase() == DeviceSession::DatabaseState::Failed) {
        m_configurationError = QStringLiteral("Datenbank nicht lesbar");
        return;
    }
    if (!configuration.isEmpty()) {
        QSaveFile staged(m_session->root().hostPath(QString::fromUtf16(ConfigImport::kStagedPath)));
        ScriptedDialogs dialogs;
        if (staged.open(QIODevice::WriteOnly) && staged.write(configuration) == configuration.size() &&
            staged.commit()) {
            ConfigImport import(m_session->root(), m_session->database(), m_session->store(),
                                dialogs, nullptr);
            const auto result = import.run();
            m_hasConfiguration = result == ConfigImport::Result::Loaded;
            if (!m_hasConfiguration)
                m_configurationError = dialogs.messages().empty()
                                           ? QStringLiteral("Konfiguration nicht geladen")
                                           : dialogs.messages().back().lines.join(QString()).trimmed();
        } else {
            m_configurationError = QStringLiteral("Datei kann nicht erzeugt werden!");
        }
    }
    m_tables = loadSettings(m_session->store(), m_session->database(), nullptr, nullptr);
}

OfficeDevice::~OfficeDevice() = default;

bool OfficeDevice::add(const QByteArray& listFile, std::int64_t id)
{
    const auto prepared = preparedForImport(listFile);
    if (!prepared)
        return false;
    ScriptedDialogs dialogs;
    ListFileImport import(m_session->root(), m_session->database(), dialogs);
    if (!import.importFile(prepared->bytes, id))
        return false;
    // The import does not read Zusatz (the office's own files have none); the device's has it.
    Dataset head(m_session->database(), schema::Kopfdaten);
    if (head.reset(Filter::byList(id)) && !head.eof()) {
        head.setText(u"ZUSATZ_A", prepared->zusatz);
        head.save();
    }
    return true;
}

std::vector<Totals::Row> OfficeDevice::totals(std::int64_t id)
{
    const auto totals = Totals::compute(m_session->database(), id);
    return totals ? totals->rows() : std::vector<Totals::Row>{};
}

std::optional<QByteArray> OfficeDevice::csv(std::int64_t id)
{
    ScriptedDialogs dialogs;
    const auto written =
        ListCsvExport(m_session->root(), m_session->database(), m_session->store(), dialogs).write(id);
    if (!written)
        return std::nullopt;
    QFile file(m_session->root().hostPath(*written));
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    return file.readAll();
}

std::optional<ReportChart> OfficeDevice::distribution(std::int64_t id)
{
    const auto distribution = DiameterDistribution::compute(m_session->database(), id, m_tables);
    if (!distribution)
        return std::nullopt;
    return distribution->stackedChart();
}

std::optional<AssortmentDistribution> OfficeDevice::assortments(std::int64_t id)
{
    if (!m_hasConfiguration)
        return std::nullopt;
    return AssortmentDistribution::compute(m_session->database(), id);
}

QString OfficeDevice::assortmentName(int k) const
{
    return AssortmentDistribution::name(m_tables, k);
}

std::optional<QByteArray> OfficeDevice::listingPdf(std::int64_t id)
{
    const ReportSources sources{m_session->database(), m_session->store(), m_tables,
                                QDateTime::currentDateTime()};
    const auto report = reports::listing(sources, id);
    if (!report)
        return std::nullopt;
    return pdf(*report);
}

QStringList OfficeDevice::companyLines() const
{
    return report::companyLines(m_session->store());
}

std::optional<QByteArray> OfficeDevice::pdf(const Report& report)
{
    const QString file = m_dir.filePath(QStringLiteral("report.pdf"));
    if (!ReportPrinter::writePdf(report, reports::pageLength(m_tables), file, nullptr))
        return std::nullopt;
    QFile pdf(file);
    if (!pdf.open(QIODevice::ReadOnly))
        return std::nullopt;
    return pdf.readAll();
}

QString checkConfiguration(const QByteArray& bytes)
{
    if (bytes.isEmpty())
        return QStringLiteral("leere Datei");
    OfficeDevice device(bytes);
    return device.hasConfiguration() ? QString() : device.configurationError();
}

} // namespace brovant::office
