#include "pages/advancedtools.h"

#include "pages/band.h"
#include "pages/boxes.h"
#include "pages/headerband.h"

#include <QBoxLayout>
#include <QToolButton>

namespace
{

struct Tile {
    const char *name;
    QString text;
    const char *signal;
};

} // namespace

AdvancedTools::AdvancedTools(QWidget *parent) : QWidget(parent)
{
    setFixedSize(650, 420);
    setObjectName("advancedtools");
    createTop();
    createMiddle();
    createBottom();

    auto *column = talo::createColumn(this);
    column->addSpacing(5);
    column->addWidget(top_);
    column->addStretch(1);
    column->addWidget(middle_);
    column->addWidget(bottom_);
    setContentsMargins(0, 0, 0, 0);
}

void AdvancedTools::createTop()
{
    const talo::HeaderBand header = talo::createHeaderBand(this, tr("Advanced Tools"), 120);
    connect(header.back, SIGNAL(clicked(bool)), this, SIGNAL(ShowHomePage()));
    top_ = header.band;
}

void AdvancedTools::createMiddle()
{
    middle_ = talo::createBand(this, "advancedtoolsmiddle", 200);

    // The line breaks push the words below the picture that the style sheet draws.
    const Tile tiles[] = {
        {"btnDuplicateFinder", tr("\n\nDuplicate\nFinder"), SIGNAL(ShowDuplicateFinderPage())},
        {"btnDataTheft", tr("\n\nData Theft"), SIGNAL(ShowDataTheftPage())},
        {"btnShredder", tr("\n\nShredder"), SIGNAL(ShowShredderPage())},
    };
    auto *row = talo::createRow(middle_);
    row->addStretch(1);
    for (const Tile &tile : tiles) {
        auto *button = new QToolButton(middle_);
        button->setObjectName(tile.name);
        button->setText(tile.text);
        button->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
        button->setCursor(Qt::PointingHandCursor);
        connect(button, SIGNAL(clicked(bool)), this, tile.signal);
        row->addWidget(button);
        row->addStretch(1);
    }
}

void AdvancedTools::createBottom()
{
    bottom_ = talo::createBand(this, "homebottom", 100);
}
