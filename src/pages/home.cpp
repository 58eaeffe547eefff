#include "pages/home.h"

#include "pages/band.h"
#include "pages/boxes.h"

#include <QBoxLayout>
#include <QLabel>
#include <QToolButton>

namespace
{

struct Link {
    const char *name;
    QString text;
    const char *signal;
};

QToolButton *createLink(QWidget *band, const Link &link, Home *page)
{
    auto *button = new QToolButton(band);
    button->setObjectName(link.name);
    button->setText(link.text);
    button->setCursor(Qt::PointingHandCursor);
    QObject::connect(button, SIGNAL(clicked(bool)), page, link.signal);
    return button;
}

} // namespace

Home::Home(QWidget *parent) : QWidget(parent)
{
    setFixedSize(650, 420);
    setObjectName("home");
    createTop();
    createMiddle();
    createBottom();
    setProductStatus();

    auto *column = talo::createColumn(this);
    column->addSpacing(10);
    column->addWidget(top_);
    column->addSpacing(10);
    column->addWidget(middle_);
    column->addSpacing(10);
    column->addWidget(bottom_);
    column->addSpacing(5);
    setContentsMargins(0, 0, 0, 0);
}

void Home::createTop()
{
    top_ = talo::createBand(this, "", 100);

    btnSecureLogo_ = new QToolButton(top_);
    btnSecureLogo_->setObjectName("btnSecureLogo");
    btnSecureLogo_->setToolButtonStyle(Qt::ToolButtonIconOnly);
    btnSecureLogo_->setIconSize(QSize(50, 50));
    btnSecureLogo_->setAccessibleName(tr("Protection status"));
    btnSecureLogo_->setFocusPolicy(Qt::NoFocus);

    lblSecureInfo_ = new QLabel(tr("You are protected"), top_);
    lblSecureInfo_->setObjectName("lblSecureInfo");
    lblSecureSubInfo_ = new QLabel(tr(" No additional action required"), top_);
    lblSecureSubInfo_->setObjectName("lblSecureSubInfo");

    auto *texts = talo::createColumn();
    texts->addStretch(1);
    texts->addWidget(lblSecureInfo_);
    texts->addSpacing(5);
    texts->addWidget(lblSecureSubInfo_);
    texts->addStretch(1);

    auto *row = talo::createRow(top_);
    row->addSpacing(40);
    row->addWidget(btnSecureLogo_);
    row->addSpacing(10);
    row->addLayout(texts);
    row->addStretch(1);
    row->addSpacing(30);
}

void Home::createMiddle()
{
    middle_ = talo::createBand(this, "homemiddle", 200);

    // The line break pushes the word below the picture that the style sheet draws.
    const Link tiles[] = {
        {"btnScan", tr("\nScan"), SIGNAL(ShowScanPage())},
        {"btnUpdate", tr("\nUpdate"), SIGNAL(ShowUpdatePage())},
        {"btnWebAndEmail", tr("\nWeb/Email"), SIGNAL(ShowSettingsPageForWebAndEmail())},
        {"btnReport", tr("\nReport"), SIGNAL(ShowReportPage())},
    };
    auto *row = talo::createRow(middle_);
    row->addStretch(1);
    for (const Link &tile : tiles) {
        QToolButton *button = createLink(middle_, tile, this);
        button->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
        row->addWidget(button);
        row->addStretch(1);
    }
}

void Home::createBottom()
{
    bottom_ = talo::createBand(this, "homebottom", 100);

    const Link links[] = {
        {"btnMobileApps", tr(" Mobile App"), SIGNAL(ShowMobileAppPage())},
        {"btnWhatsNew", tr(" What's New"), SIGNAL(ShowWhatsNewPage())},
        {"btnAdvancedTools", tr(" Advanced Tools"), SIGNAL(ShowAdvancedToolsPage())},
    };
    auto *row = talo::createRow(bottom_);
    row->addStretch(1);
    for (const Link &link : links) {
        QToolButton *button = createLink(bottom_, link, this);
        button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
        button->setIconSize(QSize(40, 40));
        row->addWidget(button);
        row->addStretch(1);
    }
}

void Home::setProductStatus()
{
    btnSecureLogo_->show();
    lblSecureInfo_->show();
    lblSecureInfo_->setText(tr("You are protected"));
    lblSecureSubInfo_->setText(tr(" No additional action required"));
    repaint();
}
