#include "pages/help.h"

#include "engine/updates.h"
#include "pages/band.h"
#include "pages/boxes.h"
#include "pages/website.h"

#include <QBoxLayout>
#include <QLabel>
#include <QStackedWidget>
#include <QToolButton>

namespace
{

enum Tab { AboutTab, FaqTab, LiveChatTab, EmailTab };

// The tab stack reaches this far below the page's lower edge; what stands at the bottom of a tab
// keeps clear of it.
constexpr int kHiddenStrip = 30;

} // namespace

Help::Help(QWidget *parent) : QWidget(parent)
{
    setFixedSize(650, 420);
    setObjectName("home"); // borrows the first page's look
    createTop();
    createMiddle();

    auto *column = talo::createColumn(this);
    column->addWidget(top_);
    column->addWidget(middle_);
    setContentsMargins(0, 0, 0, 0);
}

void Help::createTop()
{
    top_ = talo::createBand(this, "", 50);

    QToolButton *title = talo::createPicture(top_, "helpPageTitle", 20, tr(" Help"));

    auto *row = talo::createRow(top_);
    row->addSpacing(10);
    row->addWidget(title, 0, Qt::AlignHCenter);
    row->addStretch(1);
}

void Help::createMiddle()
{
    middle_ = talo::createBand(this, "helpmiddle", 400);

    tabButtons_ = {createTabButton("btnAbout", tr("About"), SLOT(btnAboutClicked())),
                   createTabButton("btnFaq", tr("FAQ"), SLOT(btnFaqClicked())),
                   createTabButton("btnLiveChat", tr("Live Chat"), SLOT(btnLiveChatClicked())),
                   createTabButton("btnEmail", tr("Email"), SLOT(btnEmailClicked()))};
    auto *row = talo::createRow();
    row->addSpacing(10);
    for (QToolButton *button : tabButtons_) {
        row->addWidget(button);
        if (button == tabButtons_.back()) {
            row->addSpacing(10);
        } else {
            row->addStretch(1);
        }
    }

    tabs_ = new QStackedWidget(middle_);
    tabs_->setFixedSize(650, 350);
    tabs_->addWidget(createAboutPage());
    tabs_->addWidget(createFaqPage());
    tabs_->addWidget(createLiveChatPage());
    tabs_->addWidget(createEmailPage());
    showTab(AboutTab);

    auto *column = talo::createColumn(middle_);
    column->addLayout(row);
    column->addWidget(tabs_);
}

QToolButton *Help::createTabButton(const QString &name, const QString &text, const char *slot)
{
    auto *button = new QToolButton(middle_);
    button->setObjectName(name);
    button->setText(text);
    button->setCheckable(true);
    button->setCursor(Qt::PointingHandCursor);
    connect(button, SIGNAL(clicked(bool)), this, slot);
    return button;
}

QWidget *Help::createAboutPage()
{
    auto *page = new QWidget(tabs_);
    page->setObjectName("objAboutPage");

    auto *caption = new QLabel(tr("Product Version"), page);
    caption->setObjectName("lblAboutStyle");
    lblProductVersion_ = new QLabel("1.0.0.0", page);
    auto *separator = new QLabel(page);
    separator->setObjectName("lblVSeperator");
    auto *notice = new QLabel(
        tr("Copyright © 2026 the TALO Antivirus developers.\n"
           "This program is free software under the GNU General Public License, version 2."),
        page);
    notice->setObjectName("lblWarning");

    auto *version = talo::createRow();
    version->addWidget(caption);
    version->addStretch(1);
    version->addWidget(lblProductVersion_);
    version->addSpacing(10); // the separator below ends here

    auto *column = talo::createColumn(page);
    column->addSpacing(30);
    column->addLayout(version);
    column->addSpacing(10);
    column->addWidget(separator);
    column->addStretch(1);
    column->addWidget(notice);
    column->addSpacing(kHiddenStrip + 10);
    page->setContentsMargins(20, 0, 20, 0);
    return page;
}

QWidget *Help::createFaqPage()
{
    return createLinkPage(
        "objFaqPage",
        tr("The FAQ section of TALO Antivirus provides answer to some of the most\n"
           "common queries of the users which can be related to anything such as how\n"
           "to install the Antivirus, what are the benefits of an Antivirus, the version on\n"
           "which the antivirus will run and many more. This section will clear all your\n"
           "doubts and increase your knowledge regarding Antivirus."),
        createLink("btnVisitFaqSection", tr("Visit FAQ Section"),
                   SLOT(btnVisitFaqSectionClicked())));
}

QWidget *Help::createLiveChatPage()
{
    return createLinkPage(
        "objLiveChatPage",
        tr("We are here to help you !\n\n"
           "TALO Antivirus 24x7 support team will provide instant support for all your\n"
           "queries.\n\n"
           "Reach us via live chat"),
        createLink("btnStartLiveChatSession", tr("Start Live Chat Now"),
                   SLOT(btnStartLiveChatSessionClicked())));
}

QWidget *Help::createEmailPage()
{
    auto *page = new QWidget(tabs_);
    page->setObjectName("objEmailPage");
    auto *text = new QLabel(tr("Looking for an anwser?\n\n"
                               "If you are not able to find the information that you need\n"
                               "please submit your query to us\n\n"
                               "We would love to solve it and provide you with the best\n"
                               "solutions!\n\n\n"
                               "Write to us: ") +
                                talo::supportAddress(),
                            page);

    auto *column = talo::createColumn(page);
    column->addSpacing(30);
    column->addWidget(text);
    column->addStretch(1);
    page->setContentsMargins(20, 0, 20, 0);
    return page;
}

QToolButton *Help::createLink(const QString &name, const QString &text, const char *slot)
{
    auto *link = new QToolButton(tabs_);
    link->setObjectName(name);
    link->setText(text);
    link->setToolButtonStyle(Qt::ToolButtonTextOnly);
    link->setCursor(Qt::PointingHandCursor);
    connect(link, SIGNAL(clicked(bool)), this, slot);
    return link;
}

QWidget *Help::createLinkPage(const QString &pageName, const QString &text, QToolButton *link)
{
    auto *page = new QWidget(tabs_);
    page->setObjectName(pageName);

    auto *row = talo::createRow();
    row->addStretch(1);
    row->addWidget(link);
    row->addStretch(1);

    auto *column = talo::createColumn(page);
    column->addSpacing(30);
    column->addWidget(new QLabel(text, page));
    column->addStretch(1);
    column->addLayout(row);
    column->addSpacing(50);
    page->setContentsMargins(20, 0, 20, 0);
    return page;
}

// An update may have changed the version since the page was last shown; an engine that does not
// know it leaves the text as it is.
void Help::showEvent(QShowEvent *event)
{
    char version[ProductVersionSize] = {};
    char date[UpdateDateSize] = {};
    char time[UpdateTimeSize] = {};
    GetProductUpdateInfo(version, date, time);
    if (version[0] != '\0') {
        lblProductVersion_->setText(
            QString::fromUtf8(version, int(qstrnlen(version, sizeof version))));
    }
    QWidget::showEvent(event);
}

// A checkable button toggles on every click; the tab shown keeps its mark all the same.
void Help::showTab(int index)
{
    for (int i = 0; i < kTabs; ++i) {
        tabButtons_[i]->setChecked(i == index);
    }
    tabs_->setCurrentIndex(index);
}

void Help::btnAboutClicked()
{
    showTab(AboutTab);
}

void Help::btnFaqClicked()
{
    showTab(FaqTab);
}

void Help::btnLiveChatClicked()
{
    showTab(LiveChatTab);
}

void Help::btnEmailClicked()
{
    showTab(EmailTab);
}

void Help::btnVisitFaqSectionClicked()
{
    talo::openWebPage("/en/support/antivirus-faq");
}

void Help::btnStartLiveChatSessionClicked()
{
    talo::openWebPage("/en/support");
}
