// Boxes without margins and without spacing of their own, which the panel's layouts are made of.
#pragma once

class QHBoxLayout;
class QVBoxLayout;
class QWidget;

namespace talo
{

// `owner` is the widget that the box lays out; none for a box inside another.
QHBoxLayout *createRow(QWidget *owner = nullptr);
QVBoxLayout *createColumn(QWidget *owner = nullptr);

} // namespace talo
