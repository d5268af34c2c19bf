#include "app/RecordScreen.h"

namespace brovant {

RecordScreen::RecordScreen(ScreenStack& stack, Database& database, const QString& objectName,
                           const TableDescriptor& table)
    : KeypadScreen(stack, objectName)
    , m_dataset(std::make_unique<Dataset>(database, table))
{
}

void RecordScreen::bindEdit(QLineEdit* edit, const QString& field)
{
    const int index = m_dataset->table().indexOf(field);
    if (index >= 0)
        edit->setMaxLength(m_dataset->table().fields[size_t(index)].width());
    m_bindings.emplace_back(edit, field);
}

void RecordScreen::loadFields()
{
    for (auto& [edit, field] : m_bindings)
        edit->setText(m_dataset->loadText(field));
}

void RecordScreen::storeFields()
{
    for (auto& [edit, field] : m_bindings)
        m_dataset->setText(field, edit->text());
}

bool RecordScreen::saveRecord()
{
    return m_dataset->eof() ? m_dataset->insert() : m_dataset->save();
}

} // namespace brovant
