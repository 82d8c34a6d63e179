// SPDX-License-Identifier: MIT
// A program in use on every screen: it covers each with a window, and writes a line to standard output for
// each press of the left button that a window is handed, and for each size that a window gets:
//   window SCREEN W H SW SH   the window's size, and the size that Qt says the screen has, in points
//   press SCREEN X Y          in the window's points
#include <cstdio>
#include <memory>
#include <vector>

#include <QGuiApplication>
#include <QMouseEvent>
#include <QPainter>
#include <QRasterWindow>
#include <QScreen>

namespace {

class Cover final : public QRasterWindow {
public:
    explicit Cover(QScreen& screen) {
        setScreen(&screen);
        setGeometry(screen.geometry());
        showFullScreen();
    }

private:
    void paintEvent(QPaintEvent*) override {
        QPainter(this).fillRect(QRect(QPoint(), size()), Qt::lightGray);
        const QSize points = screen()->size();
        std::printf("window %s %d %d %d %d\n", name(), width(), height(), points.width(), points.height());
        std::fflush(stdout);
    }
    void mousePressEvent(QMouseEvent* event) override {
        if (event->button() != Qt::LeftButton)
            return;
        std::printf("press %s %.3f %.3f\n", name(), event->position().x(), event->position().y());
        std::fflush(stdout);
    }
    const char* name() {
        name_ = screen()->name().toUtf8();
        return name_.constData();
    }

    QByteArray name_;
};

} // namespace

int main(int argc, char** argv) {
    const QGuiApplication application(argc, argv);
    std::vector<std::unique_ptr<Cover>> covers;
    for (QScreen* screen : QGuiApplication::screens())
        covers.push_back(std::make_unique<Cover>(*screen));
    return QGuiApplication::exec();
}
