#include "support/clippedtexts.h"

#include <QAbstractButton>
#include <QCalendarWidget>
#include <QComboBox>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <QStyleOptionComboBox>
#include <QTableView>
#include <QToolButton>
#include <QtTest>

namespace talo::test
{
namespace
{

// What a text takes, and where in its widget it may be drawn.
struct Text {
    QString text;
    QSize needed;
    QRect room;
};

constexpr int kHeaderSize = 10; // as the style sheet has it, in points
constexpr int kHeaderPadding = 10;

QSize sizeOf(const QWidget *widget, const QString &text)
{
    return widget->fontMetrics().size(Qt::TextShowMnemonic, text);
}

Text inLabel(const QLabel *label)
{
    const QRect room = label->contentsRect();
    QSize needed = sizeOf(label, label->text());
    if (label->wordWrap())
        needed = QSize(1, label->heightForWidth(label->width()) - 1);
    return {label->text(), needed, room};
}

Text inToolButton(const QToolButton *button)
{
    QStyleOptionToolButton option;
    option.initFrom(button);
    QSize needed = sizeOf(button, button->text().trimmed());
    QRect room = button->rect().adjusted(1, 1, -1, -1); // within the edge
    switch (button->toolButtonStyle()) {
    case Qt::ToolButtonTextBesideIcon:
        needed.rwidth() += button->iconSize().width() + 4;
        break;
    case Qt::ToolButtonTextUnderIcon:
        if (!button->icon().isNull())
            needed.rheight() += button->iconSize().height();
        break;
    case Qt::ToolButtonIconOnly:
        return {};
    default:
        if (!button->icon().isNull())
            return {};
    }
    return {button->text(), needed, room};
}

Text inComboBox(const QComboBox *box)
{
    QStyleOptionComboBox option;
    option.initFrom(box);
    option.frame = true;
    const QRect room = box->style()->subControlRect(QStyle::CC_ComboBox, &option,
                                                    QStyle::SC_ComboBoxEditField, box);
    Text widest{{}, {}, room};
    for (int i = 0; i < box->count(); ++i) {
        const QSize needed = sizeOf(box, box->itemText(i));
        if (needed.width() > widest.needed.width())
            widest = {box->itemText(i), needed, room};
    }
    return widest;
}

Text inRadioButton(const QRadioButton *button)
{
    QStyleOptionButton option;
    option.initFrom(button);
    option.text = button->text();
    return {button->text(), sizeOf(button, button->text()),
            button->style()->subElementRect(QStyle::SE_RadioButtonContents, &option, button)};
}

Text textOf(const QWidget *widget)
{
    if (const auto *label = qobject_cast<const QLabel *>(widget))
        return label->pixmap(Qt::ReturnByValue).isNull() ? inLabel(label) : Text();
    if (const auto *button = qobject_cast<const QToolButton *>(widget))
        return inToolButton(button);
    if (const auto *button = qobject_cast<const QPushButton *>(widget))
        return {button->text(), sizeOf(button, button->text()), button->contentsRect()};
    if (const auto *box = qobject_cast<const QComboBox *>(widget))
        return inComboBox(box);
    if (const auto *button = qobject_cast<const QRadioButton *>(widget))
        return inRadioButton(button);
    return {};
}

// Where the text itself is drawn.
QRect placeOf(const QWidget *widget, const Text &text)
{
    Qt::Alignment alignment = Qt::AlignCenter;
    if (const auto *label = qobject_cast<const QLabel *>(widget))
        alignment = label->alignment();
    else if (!qobject_cast<const QAbstractButton *>(widget))
        alignment = Qt::AlignLeft | Qt::AlignVCenter;
    return QStyle::alignedRect(Qt::LeftToRight, alignment, text.needed, text.room);
}

bool belongsToCalendar(const QWidget *widget)
{
    for (const QWidget *up = widget; up; up = up->parentWidget())
        if (qobject_cast<const QCalendarWidget *>(up))
            return true;
    return false;
}

struct TextLook {
    void go(const QString &stop, QWidget *window);
    void lookAtTexts(const QString &stop, QWidget *window);
    void lookAtHeader(const QString &stop, const QHeaderView *header);
    void lookAtCells(const QString &stop, const QTableView *table);
    void complain(const QString &stop, const QString &text, const QString &what);

    Measured result;
};

void TextLook::complain(const QString &stop, const QString &text, const QString &what)
{
    result.complaints << QString("%1: \"%2\" %3").arg(stop, text, what);
}

void TextLook::lookAtTexts(const QString &stop, QWidget *window)
{
    QList<QPair<QString, QRect>> places;
    for (const QWidget *widget : window->findChildren<QWidget *>()) {
        if (!widget->isVisible() || belongsToCalendar(widget))
            continue;
        const Text text = textOf(widget);
        if (text.text.trimmed().isEmpty())
            continue;
        ++result.measured;
        if (text.needed.width() > text.room.width() || text.needed.height() > text.room.height())
            complain(stop, text.text,
                     QString("needs %1x%2 of %3x%4")
                         .arg(text.needed.width())
                         .arg(text.needed.height())
                         .arg(text.room.width())
                         .arg(text.room.height()));
        const QRect place = placeOf(widget, text);
        if (!widget->visibleRegion().boundingRect().contains(place & widget->rect()))
            complain(stop, text.text, "is cut by what it stands on");
        const QRect inWindow = place.translated(widget->mapTo(window, QPoint()));
        for (const auto &other : qAsConst(places))
            if (other.second.intersects(inWindow))
                complain(stop, text.text, QString("covers \"%1\"").arg(other.first));
        places << qMakePair(text.text, inWindow);
    }
}

void TextLook::lookAtHeader(const QString &stop, const QHeaderView *header)
{
    QFont font = header->font();
    font.setPointSize(kHeaderSize);
    for (int i = 0; i < header->count(); ++i) {
        if (header->isSectionHidden(i))
            continue;
        const QString text = header->model()->headerData(i, header->orientation()).toString();
        const QSize needed = QFontMetrics(font, header).size(0, text) + QSize(kHeaderPadding, 0);
        if (needed.width() > header->sectionSize(i) || needed.height() > header->height())
            complain(stop, text,
                     QString("needs %1x%2 of its header's %3x%4")
                         .arg(needed.width())
                         .arg(needed.height())
                         .arg(header->sectionSize(i))
                         .arg(header->height()));
        ++result.measured;
    }
}

// Only a path may be shortened: it is told apart by its slash.
void TextLook::lookAtCells(const QString &stop, const QTableView *table)
{
    const int margin = table->style()->pixelMetric(QStyle::PM_FocusFrameHMargin) + 1;
    const QAbstractItemModel *model = table->model();
    for (int row = 0; row < model->rowCount(); ++row) {
        for (int column = 0; column < model->columnCount(); ++column) {
            const QString text = model->index(row, column).data().toString();
            const QSize room(table->columnWidth(column) - 1 - 2 * margin, table->rowHeight(row));
            const QSize needed = sizeOf(table, text);
            if (text.contains('/')
                    ? needed.height() > room.height()
                    : needed.width() > room.width() || needed.height() > room.height())
                complain(stop, text, "does not fit its cell");
            ++result.measured;
        }
    }
    if (table->horizontalScrollBar()->isVisible() && table->horizontalScrollBar()->maximum() > 0)
        complain(stop, table->objectName(), "is wider than its room");
}

void TextLook::go(const QString &stop, QWidget *window)
{
    QCoreApplication::processEvents();
    lookAtTexts(stop, window);
    for (const QHeaderView *header : window->findChildren<QHeaderView *>())
        if (header->isVisible() && !belongsToCalendar(header))
            lookAtHeader(stop, header);
    for (const QTableView *table : window->findChildren<QTableView *>())
        if (table->isVisible() && !belongsToCalendar(table))
            lookAtCells(stop, table);
}

} // namespace

Measured measureTexts(const QString &stop, QWidget *window)
{
    TextLook look;
    look.go(stop, window);
    return look.result;
}

} // namespace talo::test
