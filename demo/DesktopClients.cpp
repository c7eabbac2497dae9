// The windows of a private desktop: "chart" shows known colours, "scene" a desktop at work.

#include "demo/ColourChart.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QScreen>
#include <QTime>
#include <QTimer>
#include <QWidget>
#include <cmath>
#include <cstdio>
#include <memory>
#include <vector>

namespace kasto::demo {
namespace {

// A window that repaints itself 60 times a second if it is animated, and else only when it must.
class Client : public QWidget {
public:
    explicit Client(const QString& title, Qt::WindowFlags flags = Qt::Window) : QWidget(nullptr, flags) {
        setWindowTitle(title);
        setAttribute(Qt::WA_OpaquePaintEvent);
        clock_.start();
    }

protected:
    void animate() {
        timer_.setTimerType(Qt::PreciseTimer);
        connect(&timer_, &QTimer::timeout, this, [this] { update(); });
        timer_.start(16);
    }
    double seconds() const { return static_cast<double>(clock_.elapsed()) / 1000; }

private:
    QElapsedTimer clock_;
    QTimer timer_;
};

class Chart final : public Client {
public:
    Chart() : Client("chart", Qt::X11BypassWindowManagerHint | Qt::FramelessWindowHint) {
        setGeometry(0, 0, chart::kScreenWidth, chart::kScreenHeight);
        connect(&timer_, &QTimer::timeout, this,
                [this] { update(0, chart::kStripTop, width(), height() - chart::kStripTop); });
        timer_.start(16);
    }

private:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        for (std::size_t i = 0; i < chart::kPatches.size(); ++i) {
            const auto [red, green, blue] = chart::kPatches[i];
            const int column = static_cast<int>(i) % chart::kColumns;
            const int row = static_cast<int>(i) / chart::kColumns;
            painter.fillRect(column * chart::kPatchWidth, row * chart::kPatchHeight, chart::kPatchWidth,
                             chart::kPatchHeight, QColor(red, green, blue));
        }
        painter.fillRect(0, chart::kStripTop, width(), height() - chart::kStripTop, QColor(30, 30, 34));
        const int x = static_cast<int>(std::fmod(seconds() * 400, width() - 60));
        painter.fillRect(x, chart::kStripTop + 10, 60, 60, QColor(230, 230, 220));
    }

    QTimer timer_;
};

class Wallpaper final : public Client {
public:
    // The window manager does not manage it, so that no press raises it above the other windows.
    Wallpaper() : Client("wallpaper", Qt::X11BypassWindowManagerHint | Qt::FramelessWindowHint) {
        setGeometry(screen()->geometry());
        QTimer::singleShot(0, this, [this] { lower(); });
    }

private:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        QLinearGradient sky(0, 0, width(), height());
        sky.setColorAt(0, QColor(24, 38, 66));
        sky.setColorAt(0.6, QColor(64, 86, 120));
        sky.setColorAt(1, QColor(196, 138, 116));
        painter.fillRect(rect(), sky);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        for (int hill = 0; hill < 3; ++hill) {
            QPainterPath path(QPointF(0, height()));
            for (int x = 0; x <= width(); x += 8)
                path.lineTo(
                    x, height() * (0.74 + hill * 0.08) + 46 * std::sin(x / (170.0 + 60 * hill) + 2.1 * hill));
            path.lineTo(width(), height());
            painter.setBrush(QColor(34 - 8 * hill, 48 - 10 * hill, 74 - 14 * hill));
            painter.drawPath(path);
        }
    }
};

class Notes final : public Client {
public:
    Notes() : Client("notes") { setGeometry(150, 140, 620, 420); }

private:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.fillRect(rect(), QColor(250, 248, 242));
        painter.setPen(QColor(40, 40, 46));
        QFont font("DejaVu Sans");
        font.setPixelSize(30);
        font.setBold(true);
        painter.setFont(font);
        painter.drawText(36, 64, "Release checklist");
        font.setPixelSize(19);
        font.setBold(false);
        painter.setFont(font);
        const QStringList lines{"1.  Measure before you optimise",    "2.  Name things for what they are",
                                "3.  Leave no thread without owner",  "4.  Keep what was recorded, always",
                                "5.  Read the picture, not the code", "6.  Ship on a Tuesday"};
        for (int i = 0; i < lines.size(); ++i) painter.drawText(36, 116 + 44 * i, lines[i]);
        painter.setPen(QPen(QColor(214, 126, 44), 3));
        painter.drawLine(36, 80, 330, 80);
    }
};

class Signals final : public Client {
public:
    Signals() : Client("signals") {
        setGeometry(1010, 120, 740, 400);
        animate();
    }

private:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.fillRect(rect(), QColor(22, 26, 34));
        painter.setPen(QColor(48, 54, 66));
        for (int x = 0; x < width(); x += 40) painter.drawLine(x, 0, x, height());
        for (int y = 0; y < height(); y += 40) painter.drawLine(0, y, width(), y);
        painter.setRenderHint(QPainter::Antialiasing);
        const std::vector<QColor> colours{{103, 189, 170}, {224, 163, 46}, {133, 128, 177}};
        for (std::size_t wave = 0; wave < colours.size(); ++wave) {
            const double k = static_cast<double>(wave);
            QPainterPath path;
            for (int x = 0; x <= width(); x += 4) {
                const double y = height() / 2.0 + (110 - 24 * k) *
                                                      std::sin(x / (60 + 25 * k) + seconds() * (2 + k)) *
                                                      std::cos(x / 310.0 - seconds());
                x == 0 ? path.moveTo(x, y) : path.lineTo(x, y);
            }
            painter.setPen(QPen(colours[wave], 3));
            painter.drawPath(path);
        }
    }
};

class Ball final : public Client {
public:
    Ball() : Client("ball") {
        setGeometry(340, 640, 520, 320);
        animate();
    }

private:
    void mousePressEvent(QMouseEvent*) override { ++presses_; }

    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.fillRect(rect(), QColor(232, 238, 240));
        painter.setRenderHint(QPainter::Antialiasing);
        const double t = seconds();
        const double x = 50 + (width() - 100) * (0.5 + 0.5 * std::sin(t * 1.3));
        const double y = height() - 50 - (height() - 120) * std::abs(std::sin(t * 2.6));
        painter.setPen(Qt::NoPen);
        painter.setBrush(QColor(0, 0, 0, 40));
        painter.drawEllipse(QPointF(x, height() - 22), 40, 8);
        painter.setBrush(QColor::fromHsv((10 + 70 * presses_) % 360, 200, 220));
        painter.drawEllipse(QPointF(x, y), 36, 36);
    }

    int presses_ = 0;
};

class Clock final : public Client {
public:
    Clock() : Client("clock") {
        setGeometry(1180, 660, 440, 220);
        animate();
    }

private:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.fillRect(rect(), QColor(56, 61, 88));
        painter.setPen(QColor(240, 240, 232));
        QFont font("DejaVu Sans Mono");
        font.setPixelSize(58);
        painter.setFont(font);
        painter.drawText(rect(), Qt::AlignCenter, QTime::currentTime().toString("hh:mm:ss"));
        painter.fillRect(QRectF(0, height() - 8, width() * std::fmod(seconds(), 1), 8), QColor(214, 126, 44));
    }
};

std::vector<std::unique_ptr<QWidget>> makeClients(const QString& what) {
    std::vector<std::unique_ptr<QWidget>> clients;
    if (what == "chart") clients.push_back(std::make_unique<Chart>());
    if (what == "scene") {
        clients.push_back(std::make_unique<Wallpaper>());
        clients.push_back(std::make_unique<Notes>());
        clients.push_back(std::make_unique<Ball>());
        clients.push_back(std::make_unique<Clock>());
        clients.push_back(std::make_unique<Signals>());
    }
    return clients;
}

}  // namespace
}  // namespace kasto::demo

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    const auto clients = kasto::demo::makeClients(argc == 2 ? argv[1] : "");
    if (clients.empty()) {
        std::fputs("usage: desktop_clients chart | scene\n", stderr);
        return 2;
    }
    for (const auto& client : clients) client->show();
    return QApplication::exec();
}
