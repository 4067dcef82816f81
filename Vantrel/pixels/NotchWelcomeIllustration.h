#pragma once

#include <QWidget>

namespace vantrel {

// The picture at the top of the welcome page: the top edge of a screen with
// its notch, and the dinosaur peeking out below it, drawn as square pixels.
class NotchWelcomeIllustration : public QWidget {
    Q_OBJECT
public:
    explicit NotchWelcomeIllustration(QWidget* parent = nullptr);

    static constexpr int preferredHeight = 145;

    // The picture as text rows: '#' is a black pixel, 'o' a bright one, '.' is empty.
    static const char* const* rows();
    static int rowCount();
    static int columnCount();

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace vantrel
