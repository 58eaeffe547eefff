// Boxes without margins and without spacing of their own, which the panel's layouts are made of.
#pragma once

#include <Qt>

#include <initializer_list>

class QHBoxLayout;
class QVBoxLayout;
class QWidget;

namespace talo
{

// `owner` is the widget that the box lays out; none for a box inside another.
QHBoxLayout *createRow(QWidget *owner = nullptr);
QVBoxLayout *createColumn(QWidget *owner = nullptr);

// Spreads widgets over a row: equal room between them, before the first and after the last.
void addSpread(QHBoxLayout *row, std::initializer_list<QWidget *> widgets,
               Qt::Alignment alignment = {});

} // namespace talo
