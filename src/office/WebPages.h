// Office: the web page's HTML, rendered on the server from the store's rows: log-in, the table
// of lists, one list, totals across lists, users. Every text from a list or a user is escaped;
// nothing is loaded from outside the office's network. Routing and sessions are the server's.
#pragma once

#include "data/office/OfficeStore.h"
#include "evaluation/Report.h"
#include "evaluation/ReportAssortments.h"
#include "office/ListReading.h"

#include <QString>
#include <QUrlQuery>

#include <optional>
#include <vector>

namespace brovant::office::html {

QString escaped(const QString& text);

// What every page needs: who is logged in and the form token of the session.
struct Frame {
    QString user;
    Role role = Role::Reader;
    QString csrf;
    QString notice; // a line above the content, e.g. after an upload
};

QString loginPage(const QString& message, const QString& csrf);
QString listsPage(const Frame& frame, const ListQuery& query, const QUrlQuery& params,
                  const std::vector<ListSummary>& lists, int total, const QStringList& regions);
// The assortment distribution: species rows then all species; empty without a configuration.
struct Assortments {
    QStringList names;
    std::vector<AssortmentDistribution::Species> rows;
};
QString listPage(const Frame& frame, const ListSummary& list, const ListContent& content,
                 const std::vector<TotalsRow>& totals, const std::optional<ReportChart>& chart,
                 const Assortments& assortments, const std::vector<ListSummary>& versions);
QString totalsPage(const Frame& frame, const std::vector<ListSummary>& lists,
                   const std::vector<TotalsRow>& totals, const std::vector<ClassTotal>& classes,
                   const QString& idsQuery);
QString usersPage(const Frame& frame, const std::vector<User>& users);
QString messagePage(const Frame& frame, const QString& title, const QString& text);

// The chart as inline SVG: one bar per class, the stems written above it.
QString svgChart(const ReportChart& chart);

} // namespace brovant::office::html
