// demomainwindow.cpp: the demo application's windows. Every widget a script may want has an object name.
#include "demomainwindow.h"

#include <QAction>
#include <QCheckBox>
#include <QDateEdit>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QSpinBox>
#include <QVBoxLayout>

namespace VexilDemo {

namespace {

QPushButton *button(const QString &name, const QString &text, QWidget *parent)
{
    auto *b = new QPushButton(text, parent);
    b->setObjectName(name);
    return b;
}

} // namespace

SettingsDialog::SettingsDialog(QWidget *parent)
    : QDialog(parent)
{
    setObjectName(QStringLiteral("settingsDialog"));
    setWindowTitle(QStringLiteral("Settings"));
    setAttribute(Qt::WA_DeleteOnClose);

    m_server = new QLineEdit(QStringLiteral("localhost"), this);
    m_server->setObjectName(QStringLiteral("serverEdit"));
    m_port = new QSpinBox(this);
    m_port->setObjectName(QStringLiteral("portSpin"));
    m_port->setRange(1, 65535);
    m_port->setValue(8080);

    auto *form = new QFormLayout;
    form->addRow(QStringLiteral("Server:"), m_server);
    form->addRow(QStringLiteral("Port:"), m_port);

    // The same object name and text as the main window's OK button: only the window tells them apart.
    QPushButton *ok = button(QStringLiteral("okButton"), QStringLiteral("OK"), this);
    QPushButton *cancel = button(QStringLiteral("cancelButton"), QStringLiteral("Cancel"), this);
    connect(ok, &QPushButton::clicked, this, &QDialog::accept);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(ok);
    buttons->addWidget(cancel);

    auto *layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addLayout(buttons);
}

QString SettingsDialog::server() const
{
    return m_server->text();
}

void SettingsDialog::setServer(const QString &server)
{
    m_server->setText(server);
}

int SettingsDialog::port() const
{
    return m_port->value();
}

void SettingsDialog::setPort(int port)
{
    m_port->setValue(port);
}

DemoMainWindow::DemoMainWindow(QWidget *parent)
    : QMainWindow(parent)
{
    setObjectName(QStringLiteral("mainWindow"));
    setWindowTitle(QStringLiteral("Vexil Demo"));

    QMenu *file = menuBar()->addMenu(QStringLiteral("&File"));
    file->setObjectName(QStringLiteral("fileMenu"));
    menuBar()->setObjectName(QStringLiteral("menuBar"));
    QAction *settings = file->addAction(QStringLiteral("&Settings..."), this, &DemoMainWindow::openSettings);
    settings->setObjectName(QStringLiteral("settingsAction"));
    QAction *clear = file->addAction(QStringLiteral("&Clear"), this, &DemoMainWindow::clearForm);
    clear->setObjectName(QStringLiteral("clearAction"));
    file->addSeparator();
    QAction *quit = file->addAction(QStringLiteral("&Quit"), this, &QWidget::close);
    quit->setObjectName(QStringLiteral("quitAction"));

    auto *central = new QWidget(this);
    central->setObjectName(QStringLiteral("centralWidget"));
    setCentralWidget(central);

    auto *form = new QGroupBox(QStringLiteral("Contact"), central);
    form->setObjectName(QStringLiteral("form"));
    m_name = new QLineEdit(form);
    m_name->setObjectName(QStringLiteral("nameEdit"));
    m_email = new QLineEdit(form);
    m_email->setObjectName(QStringLiteral("emailEdit"));
    m_email->setPlaceholderText(QStringLiteral("name@example.org"));
    m_startDate = new QDateEdit(QDate(2024, 3, 5), form);
    m_startDate->setObjectName(QStringLiteral("startDateEdit"));
    m_subscribe = new QCheckBox(QStringLiteral("Subscribe"), form);
    m_subscribe->setObjectName(QStringLiteral("subscribeCheck"));
    m_terms = new QCheckBox(QStringLiteral("Accept terms"), form);
    m_terms->setObjectName(QStringLiteral("termsCheck"));
    auto *formLayout = new QFormLayout(form);
    formLayout->addRow(QStringLiteral("Name:"), m_name);
    formLayout->addRow(QStringLiteral("E-mail:"), m_email);
    formLayout->addRow(QStringLiteral("Start:"), m_startDate);
    formLayout->addRow(m_subscribe);
    formLayout->addRow(m_terms);

    QPushButton *ok = button(QStringLiteral("okButton"), QStringLiteral("OK"), form);
    QPushButton *clearButton = button(QStringLiteral("clearButton"), QStringLiteral("Clear"), form);
    QPushButton *settingsButton = button(QStringLiteral("settingsButton"), QStringLiteral("Settings..."),
                                         central);
    formLayout->addRow(ok, clearButton);
    connect(ok, &QPushButton::clicked, this, &DemoMainWindow::submit);
    connect(clearButton, &QPushButton::clicked, this, &DemoMainWindow::clearForm);
    connect(settingsButton, &QPushButton::clicked, this, &DemoMainWindow::openSettings);

    m_list = new QListWidget(central);
    m_list->setObjectName(QStringLiteral("itemList"));
    m_list->addItems({ QStringLiteral("Apples"), QStringLiteral("Pears") });

    m_status = new QLabel(QStringLiteral("Ready"), central);
    m_status->setObjectName(QStringLiteral("statusLabel"));
    // A name with a dot, as real applications have them.
    auto *version = new QLabel(QStringLiteral("1.0"), central);
    version->setObjectName(QStringLiteral("version.label"));

    auto *layout = new QVBoxLayout(central);
    layout->addWidget(form);
    layout->addWidget(settingsButton);
    layout->addWidget(m_list);
    layout->addWidget(m_status);
    layout->addWidget(version);
    resize(480, 420);
}

DemoMainWindow::~DemoMainWindow() = default;

QStringList DemoMainWindow::items() const
{
    QStringList result;
    for (int i = 0; i < m_list->count(); ++i)
        result.append(m_list->item(i)->text());
    return result;
}

void DemoMainWindow::setItems(const QStringList &items)
{
    m_list->clear();
    m_list->addItems(items);
}

QDate DemoMainWindow::startDate() const
{
    return m_startDate->date();
}

void DemoMainWindow::setStartDate(const QDate &date)
{
    m_startDate->setDate(date);
}

QString DemoMainWindow::greeting(const QString &name) const
{
    return QStringLiteral("Hello, %1!").arg(name);
}

int DemoMainWindow::itemCount() const
{
    return m_list->count();
}

QRect DemoMainWindow::formGeometry() const
{
    return findChild<QGroupBox *>(QStringLiteral("form"))->geometry();
}

QPoint DemoMainWindow::offsetBy(const QPoint &point, int dx, int dy) const
{
    return point + QPoint(dx, dy);
}

void DemoMainWindow::submit()
{
    ++m_submitCount;
    m_lastSubmit = QDateTime(QDate(2024, 3, 5), QTime(7, 8, 9));
    setStatus(QStringLiteral("Submitted: %1").arg(m_name->text()));
    emit submitted(m_submitCount);
}

void DemoMainWindow::clearForm()
{
    m_name->clear();
    m_email->clear();
    m_subscribe->setChecked(false);
    m_terms->setChecked(false);
    setStatus(QStringLiteral("Cleared"));
}

void DemoMainWindow::openSettings()
{
    if (!m_dialog) {
        m_dialog = new SettingsDialog(this);
        connect(m_dialog.data(), &QDialog::accepted, this, &DemoMainWindow::settingsAccepted);
    }
    m_dialog->show();
}

void DemoMainWindow::addItem(const QString &text)
{
    m_list->addItem(text);
}

void DemoMainWindow::setStatus(const QString &text, bool highlight)
{
    m_status->setText(highlight ? QStringLiteral("** %1 **").arg(text) : text);
    emit statusChanged(m_status->text());
}

void DemoMainWindow::setContentMargins(const QMargins &margins)
{
    setContentsMargins(margins);
}

void DemoMainWindow::settingsAccepted()
{
    if (m_dialog)
        setStatus(QStringLiteral("Settings saved: %1:%2").arg(m_dialog->server()).arg(m_dialog->port()));
}

DemoMainWindow *createMainWindow(QWidget *parent)
{
    return new DemoMainWindow(parent);
}

} // namespace VexilDemo
