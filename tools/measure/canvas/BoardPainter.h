// SPDX-License-Identifier: MIT
#pragma once

#include <QSize>

#include "measure/canvas/Board.h"

class QPainter;

namespace lightpen {

// Draws the board over an area of this size.
void paintBoard(QPainter& painter, QSize size, const Board& board);

} // namespace lightpen
