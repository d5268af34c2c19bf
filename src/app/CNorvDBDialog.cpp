#include "app/CNorvDBDialog.h"

#include "app/CNorvMFCApp.h"
#include "masterdata/DeviceSession.h"

namespace brovant {

CNorvDBDialog::CNorvDBDialog(CNorvMFCApp& app, const QString& objectName,
                             const TableDescriptor& table)
    : CNorvKeybDlg(app, objectName)
    , m_dataset(std::make_unique<Dataset>(app.session().database(), table))
{
}

void CNorvDBDialog::bindEdit(QLineEdit* edit, const QString& field)
{
    const int index = m_dataset->table().indexOf(field);
    if (index >= 0)
        edit->setMaxLength(m_dataset->table().fields[size_t(index)].width());
    m_bindings.emplace_back(edit, field);
}

void CNorvDBDialog::loadFields()
{
    for (auto& [edit, field] : m_bindings)
        edit->setText(m_dataset->loadText(field));
}

void CNorvDBDialog::storeFields()
{
    for (auto& [edit, field] : m_bindings)
        m_dataset->setText(field, edit->text());
}

bool CNorvDBDialog::saveRecord()
{
    return m_dataset->eof() ? m_dataset->insert() : m_dataset->save();
}

} // namespace brovant
