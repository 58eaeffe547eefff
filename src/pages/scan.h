// Where the user starts a scan: a carousel of the four kinds, and shortcuts to the kinds that are
// not on its current slide.
#pragma once

#include "pages/filesystemchooser.h"

#include <QModelIndex>
#include <QWidget>

#include <array>

class QGridLayout;
class QLabel;
class QStackedWidget;
class QToolButton;

class Scan : public QWidget
{
    Q_OBJECT

public:
    explicit Scan(QWidget *parent = nullptr);

signals:
    void ShowHomePage();
    void ShowScheduleScanPage();

public slots:
    void btnLeftNavClicked();
    void btnRightNavClicked();
    void startFullScan();
    void startQuickScan();
    void startCustomScan();
    void executeCustomScan();
    void selectedItem(QModelIndex index);

private:
    static constexpr int kKinds = 4;
    struct Kind;
    static const std::array<Kind, kKinds> &kinds();

    void createTop();
    void createMiddle();
    void createBottom();
    void createLastFullScanInfo();
    QWidget *createSlide(const Kind &kind);
    QToolButton *createBandButton(const Kind &kind);
    void showSlide(int index);
    void orderForTab(int index);
    void startUnlessRunning(const char *program, const QString &title, const char *type);
    void warnOfLimit(const QString &title);

    QString customPath_;
    QWidget *top_ = nullptr;
    QWidget *middle_ = nullptr;
    QWidget *bottom_ = nullptr;
    QStackedWidget *slides_ = nullptr;
    QGridLayout *band_ = nullptr;
    std::array<QToolButton *, kKinds> bandButtons_{};
    QLabel *lblLastFullScanInfo_ = nullptr;
    talo::FileSystemChooser chooser_;
};
