// demomainwindow.h: a small Qt Widgets application for trying and testing the Qt wrapper: a form with line
// edits, check boxes and buttons, a list, a menu, and a settings dialog that opens and closes.
#ifndef VEXIL_DEMOMAINWINDOW_H
#define VEXIL_DEMOMAINWINDOW_H

#include <QDate>
#include <QDateTime>
#include <QDialog>
#include <QLabel> // complete, so that the meta-object registers the QLabel* property type
#include <QMainWindow>
#include <QMargins>
#include <QPointer>
#include <QStringList>

class QCheckBox;
class QDateEdit;
class QLineEdit;
class QListWidget;
class QPushButton;
class QSpinBox;

namespace VexilDemo {

/// The settings dialog: a server and a port, OK and Cancel. It deletes itself when closed.
class SettingsDialog : public QDialog
{
    Q_OBJECT
    Q_PROPERTY(QString server READ server WRITE setServer)
    Q_PROPERTY(int port READ port WRITE setPort)
public:
    explicit SettingsDialog(QWidget *parent = nullptr);

    QString server() const;
    void setServer(const QString &server);
    int port() const;
    void setPort(int port);

private:
    QLineEdit *m_server;
    QSpinBox *m_port;
};

/// The main window. Its properties, slots and signals are what a test script reaches through the model.
class DemoMainWindow : public QMainWindow
{
    Q_OBJECT
    Q_PROPERTY(int submitCount READ submitCount NOTIFY submitted)
    Q_PROPERTY(QStringList items READ items WRITE setItems)
    Q_PROPERTY(QDate startDate READ startDate WRITE setStartDate)
    Q_PROPERTY(QDateTime lastSubmit READ lastSubmit)
    Q_PROPERTY(Mode mode READ mode WRITE setMode)
    Q_PROPERTY(Options options READ options WRITE setOptions)
    Q_PROPERTY(double ratio READ ratio WRITE setRatio)
    Q_PROPERTY(qint64 bigCounter READ bigCounter WRITE setBigCounter)
    Q_PROPERTY(QLabel *statusLabel READ statusLabel)
    Q_PROPERTY(QWidget *focusTarget READ focusTarget WRITE setFocusTarget)
    Q_PROPERTY(QMargins margins READ margins)

public:
    enum Mode { Simple, Advanced };
    Q_ENUM(Mode)
    enum Option { NoOption = 0, ShowToolbar = 1, ShowStatus = 2, Compact = 4 };
    Q_DECLARE_FLAGS(Options, Option)
    Q_FLAG(Options)

    explicit DemoMainWindow(QWidget *parent = nullptr);
    ~DemoMainWindow() override;

    int submitCount() const { return m_submitCount; }
    QStringList items() const;
    void setItems(const QStringList &items);
    QDate startDate() const;
    void setStartDate(const QDate &date);
    QDateTime lastSubmit() const { return m_lastSubmit; }
    Mode mode() const { return m_mode; }
    void setMode(Mode mode) { m_mode = mode; }
    Options options() const { return m_options; }
    void setOptions(Options options) { m_options = options; }
    double ratio() const { return m_ratio; }
    void setRatio(double ratio) { m_ratio = ratio; }
    qint64 bigCounter() const { return m_bigCounter; }
    void setBigCounter(qint64 value) { m_bigCounter = value; }
    QLabel *statusLabel() const { return m_status; }
    QWidget *focusTarget() const { return m_focusTarget; }
    void setFocusTarget(QWidget *widget) { m_focusTarget = widget; }
    QMargins margins() const { return contentsMargins(); }

    /// The open settings dialog, or null.
    SettingsDialog *settingsDialog() const { return m_dialog; }

    Q_INVOKABLE QString greeting(const QString &name) const;
    Q_INVOKABLE int itemCount() const;
    Q_INVOKABLE QRect formGeometry() const;
    Q_INVOKABLE QPoint offsetBy(const QPoint &point, int dx, int dy) const;

public Q_SLOTS:
    void submit();
    void clearForm();
    void openSettings();
    void addItem(const QString &text);
    void setStatus(const QString &text, bool highlight = false);
    void setContentMargins(const QMargins &margins);

Q_SIGNALS:
    void submitted(int count);
    void statusChanged(const QString &text);

private Q_SLOTS:
    void settingsAccepted();

private:
    QLineEdit *m_name;
    QLineEdit *m_email;
    QCheckBox *m_subscribe;
    QCheckBox *m_terms;
    QDateEdit *m_startDate;
    QListWidget *m_list;
    QLabel *m_status;
    QPointer<SettingsDialog> m_dialog;
    QPointer<QWidget> m_focusTarget;
    QDateTime m_lastSubmit;
    int m_submitCount = 0;
    Mode m_mode = Simple;
    Options m_options = ShowStatus;
    double m_ratio = 0.5;
    qint64 m_bigCounter = 0;
};

/// The demo's main window, ready to show.
DemoMainWindow *createMainWindow(QWidget *parent = nullptr);

} // namespace VexilDemo

Q_DECLARE_OPERATORS_FOR_FLAGS(VexilDemo::DemoMainWindow::Options)

#endif // VEXIL_DEMOMAINWINDOW_H
