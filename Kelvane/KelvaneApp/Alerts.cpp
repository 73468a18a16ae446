#include "KelvaneApp/Alerts.h"

#include <QMessageBox>
#include <QPushButton>

namespace kelvane {

void MessageBoxAlerts::present(const Alert& alert, std::function<void(int)> answered) {
    auto* box = new QMessageBox();
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowTitle(QStringLiteral("Kelvane"));
    box->setText(alert.message);
    box->setInformativeText(alert.informativeText);
    QList<QAbstractButton*> buttons;
    const QStringList titles =
        alert.buttons.isEmpty() ? QStringList{QStringLiteral("OK")} : alert.buttons;
    for (const QString& title : titles)
        buttons << box->addButton(title, buttons.isEmpty() ? QMessageBox::AcceptRole
                                                           : QMessageBox::RejectRole);
    box->setDefaultButton(qobject_cast<QPushButton*>(buttons.front()));
    QObject::connect(box, &QMessageBox::finished, box, [box, buttons, answered] {
        const auto index = buttons.indexOf(box->clickedButton());
        answered(index < 0 ? static_cast<int>(buttons.size()) - 1 : static_cast<int>(index));
    });
    box->open();
    box->raise();
    box->activateWindow();
}

} // namespace kelvane
