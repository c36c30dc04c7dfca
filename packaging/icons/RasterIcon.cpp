// SPDX-License-Identifier: MIT
// Build-time tool: draws the scalable icon at one size for the hicolor theme's fixed-size folders.
//   quelm-raster-icon ICON.svg SIZE OUT.png

#include <QImage>
#include <QPainter>
#include <QString>
#include <QSvgRenderer>

#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv)
{
    if (argc != 4) {
        std::fprintf(stderr, "usage: quelm-raster-icon ICON.svg SIZE OUT.png\n");
        return 2;
    }
    const int size = std::atoi(argv[2]);
    QSvgRenderer renderer(QString::fromLocal8Bit(argv[1]));
    if (!renderer.isValid() || size <= 0) {
        std::fprintf(stderr, "quelm-raster-icon: cannot draw %s at %s px\n", argv[1], argv[2]);
        return 1;
    }
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    {
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        renderer.render(&painter);
    }
    if (!image.save(QString::fromLocal8Bit(argv[3]), "PNG")) {
        std::fprintf(stderr, "quelm-raster-icon: cannot write %s\n", argv[3]);
        return 1;
    }
    return 0;
}
