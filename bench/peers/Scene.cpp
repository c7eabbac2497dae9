// A scripted desktop of which every picture can be drawn again, to compare a movie with it.
//   peers_scene SCENE WIDTH HEIGHT             shows the scene full screen until it is ended
//   peers_scene SCENE WIDTH HEIGHT --compare   reads bgr0 pictures, writes the mean squared error of each
//
// The number of a picture is drawn into its top left corner as black and white squares, lowest bit first.

#include <QApplication>
#include <QImage>
#include <QPaintEvent>
#include <QPainter>
#include <QTimer>
#include <QWidget>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>

namespace {

constexpr int kCodeBits = 16;
constexpr int kBlock = 12;
constexpr QRect kCode{0, 0, kCodeBits* kBlock, kBlock};

QFont font(int pixels) {
    QFont font("DejaVu Sans");
    font.setPixelSize(pixels);
    return font;
}

// Draws a line of text. The same number gives the same line.
QString lineOfText(int line) {
    static const QStringList words{"screen", "frame",  "record",  "pulse", "quiet",  "window",
                                   "movie",  "steady", "picture", "sound", "camera", "pointer",
                                   "corner", "stream", "light",   "moment"};
    QString text;
    for (int i = 0; i < 14; ++i) text += words[(line * 7 + i * i * 3 + line * i) % words.size()] + ' ';
    return text;
}

struct Scene {
    int picturesPerSecond;
    std::function<QRect(QSize)> changing;                    // the only part that changes, besides the number
    std::function<void(QPainter&, QSize, int number)> draw;  // draws that part
};

QRect clockBox(QSize size) { return {size.width() - 260, size.height() - 60, 240, 40}; }
QRect pageBox(QSize size) {
    return {size.width() / 5, size.height() / 10, size.width() * 3 / 5, size.height() * 8 / 10};
}
QRect videoBox(QSize size) {
    return {size.width() / 6, size.height() / 6, size.width() / 2, size.height() / 2};
}

void drawClock(QPainter& painter, QSize size, int number) {
    painter.fillRect(clockBox(size), QColor(30, 34, 44));
    painter.setPen(Qt::white);
    painter.setFont(font(26));
    painter.drawText(
        clockBox(size), Qt::AlignCenter,
        QString("12:%1:%2").arg(number / 60 % 60, 2, 10, QChar('0')).arg(number % 60, 2, 10, QChar('0')));
}

void drawTyping(QPainter& painter, QSize size, int number) {
    const QRect page = pageBox(size);
    painter.setClipRect(page);
    painter.fillRect(page, Qt::white);
    painter.setPen(QColor(20, 20, 24));
    painter.setFont(font(18));
    for (int line = 0, left = number; left >= 0 && line < page.height() / 26 - 1; ++line) {
        const QString text = lineOfText(line);
        painter.drawText(page.left() + 20, page.top() + 30 + 26 * line, text.left(left));
        left -= int(text.size());
    }
    painter.setClipping(false);
}

void drawScrolling(QPainter& painter, QSize size, int number) {
    const QRect page = pageBox(size);
    painter.setClipRect(page);
    painter.fillRect(page, Qt::white);
    painter.setPen(QColor(20, 20, 24));
    painter.setFont(font(18));
    const int scrolled = number * 4;
    for (int line = scrolled / 26; 26 * line - scrolled < page.height() + 26; ++line)
        painter.drawText(page.left() + 20, page.top() + 26 * line - scrolled, lineOfText(line));
    painter.setClipping(false);
}

// Soft shapes that move and turn, as the picture of a film does.
void drawFilm(QPainter& painter, const QRect& box, int number) {
    painter.setClipRect(box);
    const double t = number / 30.0;
    QLinearGradient sky(box.topLeft(), box.bottomRight());
    sky.setColorAt(0, QColor::fromHsvF(std::fmod(0.55 + t * 0.01, 1), 0.6, 0.5));
    sky.setColorAt(1, QColor::fromHsvF(std::fmod(0.05 + t * 0.01, 1), 0.5, 0.8));
    painter.fillRect(box, sky);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    for (int i = 0; i < 24; ++i) {
        const double x = box.left() + box.width() * (0.5 + 0.48 * std::sin(t * (0.4 + i * 0.07) + i));
        const double y = box.top() + box.height() * (0.5 + 0.48 * std::cos(t * (0.3 + i * 0.05) + 2 * i));
        const double r = box.height() * (0.04 + 0.006 * (i % 7));
        QRadialGradient ball(QPointF(x - r / 3, y - r / 3), r * 1.3);
        ball.setColorAt(0, QColor::fromHsv(i * 37 % 360, 120, 255));
        ball.setColorAt(1, QColor::fromHsv(i * 37 % 360, 220, 90));
        painter.setBrush(ball);
        painter.drawEllipse(QPointF(x, y), r, r);
    }
    painter.setRenderHint(QPainter::Antialiasing, false);
    painter.setClipping(false);
}

const std::map<QString, Scene>& scenes() {
    static const std::map<QString, Scene> all{
        {"still", {1, clockBox, drawClock}},
        {"typing", {8, pageBox, drawTyping}},
        {"scrolling", {60, pageBox, drawScrolling}},
        {"video", {30, videoBox, [](QPainter& p, QSize size, int n) { drawFilm(p, videoBox(size), n); }}},
        {"motion",
         {60, [](QSize size) { return QRect(QPoint(), size); },
          [](QPainter& p, QSize size, int n) { drawFilm(p, QRect(QPoint(), size), n); }}},
    };
    return all;
}

QImage background(QSize size) {
    QImage image(size, QImage::Format_RGB32);
    QPainter painter(&image);
    QLinearGradient sky(0, 0, 0, size.height());
    sky.setColorAt(0, QColor(34, 52, 92));
    sky.setColorAt(1, QColor(150, 120, 130));
    painter.fillRect(image.rect(), sky);
    painter.fillRect(0, size.height() - 80, size.width(), 80, QColor(30, 34, 44));
    painter.setPen(QColor(210, 214, 224));
    painter.setFont(font(16));
    for (int line = 0; line < (size.height() - 140) / 24; ++line)
        painter.drawText(30, 50 + 24 * line, lineOfText(line).left(24));
    return image;
}

void drawPicture(QPainter& painter, const Scene& scene, QSize size, int number) {
    scene.draw(painter, size, number);
    for (int bit = 0; bit < kCodeBits; ++bit)
        painter.fillRect(bit * kBlock, 0, kBlock, kBlock, number >> bit & 1 ? Qt::white : Qt::black);
}

class Screen final : public QWidget {
public:
    Screen(const Scene& scene, QSize size)
        : QWidget(nullptr, Qt::X11BypassWindowManagerHint | Qt::FramelessWindowHint),
          scene_(scene),
          picture_(background(size)) {
        setAttribute(Qt::WA_OpaquePaintEvent);
        setGeometry(QRect(QPoint(), size));
        timer_.setTimerType(Qt::PreciseTimer);
        connect(&timer_, &QTimer::timeout, this, [this] { advance(); });
        advance();
        timer_.start(2);
    }

private:
    void advance() {
        const auto elapsed = std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
        const int number = int(elapsed * scene_.picturesPerSecond);
        if (number == number_) return;
        number_ = number;
        QPainter painter(&picture_);
        drawPicture(painter, scene_, picture_.size(), number);
        update(QRegion(kCode) + scene_.changing(picture_.size()));
    }

    void paintEvent(QPaintEvent* event) override {
        QPainter painter(this);
        for (const QRect& rect : event->region()) painter.drawImage(rect, picture_, rect);
    }

    const Scene& scene_;
    QImage picture_;
    QTimer timer_;
    const std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
    int number_ = -1;
};

}  // namespace

namespace {

int numberIn(const QImage& picture) {
    int number = 0;
    for (int bit = 0; bit < kCodeBits; ++bit)
        number |= (qGreen(picture.pixel(bit * kBlock + kBlock / 2, kBlock / 2)) > 127) << bit;
    return number;
}

double meanSquaredError(const QImage& a, const QImage& b) {
    double sum = 0;
    for (int y = 0; y < a.height(); ++y) {
        for (int i = 0; i < 4 * a.width(); ++i) {
            const int difference = i % 4 == 3 ? 0 : a.constScanLine(y)[i] - b.constScanLine(y)[i];
            sum += difference * difference;
        }
    }
    return sum / (3.0 * a.width() * a.height());
}

int compare(const Scene& scene, QSize size) {
    QImage truth = background(size);
    QImage picture(size, QImage::Format_RGB32);
    const auto bytes = static_cast<std::size_t>(picture.sizeInBytes());
    while (std::fread(picture.bits(), 1, bytes, stdin) == bytes) {
        QPainter painter(&truth);
        drawPicture(painter, scene, size, numberIn(picture));
        painter.end();
        std::printf("%f\n", meanSquaredError(picture, truth));
    }
    return 0;
}

int show(const Scene& scene, QSize size) {
    Screen screen(scene, size);
    screen.show();
    return QApplication::exec();
}

}  // namespace

int main(int argc, char** argv) {
    const auto scene = argc == 4 || argc == 5 ? scenes().find(argv[1]) : scenes().end();
    if (scene == scenes().end()) {
        std::fputs("usage: peers_scene still|typing|scrolling|video|motion WIDTH HEIGHT [--compare]\n",
                   stderr);
        return 2;
    }
    const QSize size(std::atoi(argv[2]), std::atoi(argv[3]));
    if (argc == 5) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    return argc == 5 ? compare(scene->second, size) : show(scene->second, size);
}
