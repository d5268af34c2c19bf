// Office: a throw-away device in a temporary folder, with the published configuration loaded and
// lists taken in, so the office evaluates lists with the device's own code: CSV, the diameter
// chart with the device's classes, the assortment distribution, the printed listing as PDF.
#pragma once

#include "evaluation/Report.h"
#include "evaluation/ReportAssortments.h"
#include "evaluation/Totals.h"
#include "masterdata/DeviceSession.h"
#include "masterdata/MasterTables.h"

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>

#include <memory>
#include <vector>
#include <optional>
#include <variant>

namespace brovant::office {

class OfficeDevice {
public:
    // `configuration`: the configuration file to load first; empty for none.
    explicit OfficeDevice(const QByteArray& configuration = {});
    ~OfficeDevice();

    // Why the configuration was not loaded; empty when it was (or none was given).
    const QString& configurationError() const { return m_configurationError; }
    bool hasConfiguration() const { return m_hasConfiguration; }

    // Takes a list file in as list `id`; false when it is not a whole list file.
    bool add(const QByteArray& listFile, std::int64_t id);

    // The totals screen's rows of list `id`.
    std::vector<Totals::Row> totals(std::int64_t id);
    std::optional<QByteArray> csv(std::int64_t id);
    std::optional<ReportChart> distribution(std::int64_t id);
    std::optional<AssortmentDistribution> assortments(std::int64_t id);
    QString assortmentName(int k) const;
    std::optional<QByteArray> listingPdf(std::int64_t id);
    // Any report as PDF, on the page length of the configuration's printer.
    std::optional<QByteArray> pdf(const Report& report);
    // The company header lines the configuration prints.
    QStringList companyLines() const;

private:
    QTemporaryDir m_dir;
    std::unique_ptr<DeviceSession> m_session;
    MasterTables m_tables;
    bool m_hasConfiguration = false;
    QString m_configurationError;
};

// A configuration file as a device would load it: empty when it loads, else why not.
QString checkConfiguration(const QByteArray& bytes);

} // namespace brovant::office
