// Draws the application icon into an icon theme folder at build time:
//   vantrel-icons ICON_NAME OUTPUT_DIR
// writes OUTPUT_DIR/hicolor/SIZExSIZE/apps/ICON_NAME.png for every size and
// OUTPUT_DIR/hicolor/scalable/apps/ICON_NAME.svg.
#include "AppIcon.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QTextStream>

int main(int argc, char** argv) {
    if (argc != 3) {
        QTextStream(stderr) << "usage: vantrel-icons ICON_NAME OUTPUT_DIR\n";
        return 2;
    }
    QGuiApplication app(argc, argv);
    const QString name = QString::fromLocal8Bit(argv[1]);
    const QDir out(QString::fromLocal8Bit(argv[2]));
    auto fail = [](const QString& what) {
        QTextStream(stderr) << "vantrel-icons: cannot write " << what << "\n";
        return 1;
    };
    for (int size : vantrel::AppIcon::sizes) {
        const QString dir = QStringLiteral("hicolor/%1x%1/apps").arg(size);
        const QString path = out.filePath(dir + QLatin1Char('/') + name + QStringLiteral(".png"));
        if (!out.mkpath(dir) || !vantrel::AppIcon::render(size).save(path, "PNG")) {
            return fail(path);
        }
    }
    const QString dir = QStringLiteral("hicolor/scalable/apps");
    QFile svg(out.filePath(dir + QLatin1Char('/') + name + QStringLiteral(".svg")));
    if (!out.mkpath(dir) || !svg.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
        svg.write(vantrel::AppIcon::svg().toUtf8()) < 0) {
        return fail(svg.fileName());
    }
    return 0;
}
