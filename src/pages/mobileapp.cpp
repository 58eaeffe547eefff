#include "pages/mobileapp.h"

#include "pages/band.h"
#include "pages/boxes.h"
#include "pages/headerband.h"
#include "pages/website.h"

#include <QBoxLayout>
#include <QToolButton>

MobileApp::MobileApp(QWidget *parent) : QWidget(parent)
{
    setFixedSize(650, 420);
    setObjectName("mobileapp");
    createTop();
    createMiddle();

    auto *column = talo::createColumn(this);
    column->addSpacing(5);
    column->addWidget(top_);
    column->addStretch(1);
    column->addWidget(middle_);
    setContentsMargins(0, 0, 0, 0);
}

void MobileApp::createTop()
{
    const talo::HeaderBand header = talo::createHeaderBand(this, tr("Mobile App"), 120);
    connect(header.back, SIGNAL(clicked(bool)), this, SIGNAL(ShowHomePage()));
    top_ = header.band;
}

void MobileApp::createMiddle()
{
    middle_ = talo::createBand(this, "scheduelscanmiddle", 370);

    // The button shows its icon alone; the text is what a screen reader says.
    QToolButton *icon = talo::createPicture(
        middle_, "iconMobileApp", 50,
        tr("  TALO Mobile Security guards your phone and tablet as TALO Antivirus\n"
           "  guards this computer. It checks every app that you install, and finds\n"
           "  your device again when it is lost."),
        Qt::ToolButtonIconOnly);

    auto *iconRow = talo::createRow();
    iconRow->addStretch(1);
    iconRow->addWidget(icon);
    iconRow->addStretch(1);

    auto *column = talo::createColumn(middle_);
    column->addStretch(1);
    column->addLayout(iconRow);
    column->addStretch(1);
    column->addWidget(createStores());
}

QWidget *MobileApp::createStores()
{
    QWidget *box = talo::createBand(middle_, "updatecontainer", 255);

    auto *row = talo::createRow();
    row->addStretch(1);
    row->addWidget(createBadge(box, "btnAppStore", tr("App Store"), SLOT(btnAppStoreClicked())));
    row->addStretch(1);
    row->addWidget(
        createBadge(box, "btnGooglPlayStore", tr("Google Play"), SLOT(btnGooglPlayStoreClicked())));
    row->addStretch(1);
    row->addWidget(
        createBadge(box, "btnWindowStore", tr("Windows Store"), SLOT(btnWindowStoreClicked())));
    row->addStretch(1);

    auto *column = talo::createColumn(box);
    column->addStretch(1);
    column->addLayout(row);
    column->addStretch(1);
    return box;
}

QToolButton *MobileApp::createBadge(QWidget *box, const QString &name, const QString &store,
                                    const char *slot)
{
    auto *badge = new QToolButton(box);
    badge->setObjectName(name);
    badge->setToolButtonStyle(Qt::ToolButtonIconOnly);
    badge->setIconSize(QSize(150, 80));
    badge->setCursor(Qt::PointingHandCursor);
    badge->setAccessibleName(store);
    connect(badge, SIGNAL(clicked(bool)), this, slot);
    return badge;
}

void MobileApp::btnAppStoreClicked()
{
    talo::openWebPage("/in/mobile-security/ios");
}

void MobileApp::btnGooglPlayStoreClicked()
{
    talo::openWebPage("/in/mobile-security/android");
}

void MobileApp::btnWindowStoreClicked()
{
    talo::openWebPage("/en/mobile-security/");
}
