#include "Vantrel/Clock.h"
#include "Vantrel/onboarding/OnboardingView.h"
#include "Vantrel/onboarding/OnboardingWindowController.h"
#include "Vantrel/pixels/NotchWelcomeIllustration.h"

#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QFontDatabase>
#include <QGraphicsOpacityEffect>
#include <QImage>
#include <QLabel>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

using namespace vantrel;

namespace {

QStringList labelTexts(const QWidget* page) {
    QStringList texts;
    for (const QLabel* label : page->findChildren<QLabel*>()) {
        texts << label->text();
    }
    return texts;
}

} // namespace

TEST(Onboarding, StartsOnTheWelcomePage) {
    ManualClock clock;
    OnboardingView view(true, clock, [](bool) {});
    EXPECT_EQ(view.step(), 0);
    EXPECT_EQ(view.pageTitle()->text(), "Welcome");
    EXPECT_EQ(view.stepCounter()->text(), "1 / 2");
    EXPECT_TRUE(view.backButton()->isHidden()); // no Back on the first page
    EXPECT_FALSE(view.getStartedButton()->isHidden());
    EXPECT_TRUE(view.letsPlayButton()->isHidden());
    const QStringList texts = labelTexts(view.currentPage());
    EXPECT_TRUE(texts.contains("A tiny break.\nRight in your notch."));
    EXPECT_TRUE(texts.contains("Jump, duck, and beat your best while you wait."));
    EXPECT_TRUE(texts.contains("There when you want it"));
    EXPECT_TRUE(texts.contains("Hover just below your notch. Click the dinosaur to open."));
    EXPECT_TRUE(texts.contains("Quietly out of the way"));
    EXPECT_TRUE(texts.contains("Lives in your menu bar. Escape takes you back to work."));
    EXPECT_EQ(view.currentPage()->findChildren<NotchWelcomeIllustration*>().size(), 1);
}

TEST(Onboarding, GetStartedShowsTheControls) {
    ManualClock clock;
    OnboardingView view(true, clock, [](bool) {});
    view.setReduceMotion(true);
    view.getStartedButton()->click();
    EXPECT_EQ(view.step(), 1);
    EXPECT_FALSE(view.animating()); // reduce motion: immediate
    EXPECT_EQ(view.pageTitle()->text(), "How to play");
    EXPECT_EQ(view.stepCounter()->text(), "2 / 2");
    EXPECT_FALSE(view.backButton()->isHidden());
    EXPECT_TRUE(view.getStartedButton()->isHidden());
    EXPECT_EQ(view.letsPlayButton()->text(), QString::fromUtf8("Let\u2019s play"));

    QStringList caps;
    QStringList titles;
    QStringList texts;
    for (QWidget* row : view.currentPage()->findChildren<QWidget*>("keyRow")) {
        caps << row->findChild<QLabel*>("keyCaps")->text();
        titles << row->findChild<QLabel*>("keyTitle")->text();
        texts << row->findChild<QLabel*>("keyText")->text();
    }
    EXPECT_EQ(caps, QStringList({QString::fromUtf8("Space / \u2191"), QString::fromUtf8("\u2193"), "Esc",
                                 "Alt+Super+Space"}));
    EXPECT_EQ(titles, QStringList({"Jump", "Duck", "Back to work", "Open anywhere"}));
    EXPECT_EQ(texts.at(0), "Hold a little longer for a higher jump.");
    EXPECT_EQ(texts.at(1), "Hold to duck. In the air, fall faster.");
    EXPECT_EQ(texts.at(2), "Close the game and return to your previous app.");
    EXPECT_EQ(texts.at(3), "Or click the dinosaur in your menu bar.");
    const QStringList all = labelTexts(view.currentPage());
    EXPECT_TRUE(all.contains("Small game.\nSimple controls."));
    EXPECT_TRUE(all.contains("Your next high score is a few keys away."));
    EXPECT_TRUE(all.contains("No notch? Your arcade sits at the top center of the screen.\n"
                             "Right-click the menu bar dinosaur for sound, size, and updates."));

    view.backButton()->click();
    EXPECT_EQ(view.step(), 0);
    EXPECT_TRUE(view.backButton()->isHidden());
}

// The two texts whose sizes are fixed: the product name in the header at 13 points and the
// footnote under the controls at 12, both in the desktop's own font rather than the pixel one.
TEST(Onboarding, ProductNameIs13PointsAndFootnote12InTheSystemFont) {
    ManualClock clock;
    OnboardingView view(true, clock, [](bool) {});
    const QString systemFamily = QFontDatabase::systemFont(QFontDatabase::GeneralFont).family();

    QList<QLabel*> products;
    for (QLabel* label : view.findChildren<QLabel*>()) {
        if (label->text() == "Vantrel") {
            products << label;
        }
    }
    ASSERT_EQ(products.size(), 1);
    EXPECT_EQ(products.first()->font().pointSizeF(), 13.0);
    EXPECT_EQ(products.first()->font().family(), systemFamily);
    // Beside the page title, in the header row above the pages.
    EXPECT_FALSE(view.currentPage()->isAncestorOf(products.first()));

    auto* footnote = view.findChild<QLabel*>("footnote");
    ASSERT_NE(footnote, nullptr);
    EXPECT_EQ(footnote->text(), "No notch? Your arcade sits at the top center of the screen.\n"
                                "Right-click the menu bar dinosaur for sound, size, and updates.");
    EXPECT_EQ(footnote->font().pointSizeF(), 12.0);
    EXPECT_EQ(footnote->font().family(), systemFamily);
    // On the controls page, where the user reads it.
    view.setReduceMotion(true);
    view.getStartedButton()->click();
    EXPECT_TRUE(view.currentPage()->isAncestorOf(footnote));
}

TEST(Onboarding, ShortcutUnavailableChangesTheLastRow) {
    ManualClock clock;
    OnboardingView view(false, clock, [](bool) {});
    view.getStartedButton()->click();
    const QList<QLabel*> texts = view.currentPage()->findChildren<QLabel*>("keyText");
    ASSERT_EQ(texts.size(), 4);
    EXPECT_EQ(texts.at(3)->text(), "Shortcut unavailable. Use the menu bar dinosaur.");
}

TEST(Onboarding, PageChangesFadeUnlessMotionIsReduced) {
    ManualClock clock;
    OnboardingView view(true, clock, [](bool) {});
    view.getStartedButton()->click();
    EXPECT_EQ(view.step(), 1);
    EXPECT_TRUE(view.animating());
    auto opacity = [&] {
        auto* effect = qobject_cast<QGraphicsOpacityEffect*>(view.currentPage()->graphicsEffect());
        return effect ? effect->opacity() : -1.0;
    };
    EXPECT_EQ(opacity(), 0); // the new page starts hidden
    // Halfway through the fade (0.09 s of 0.18), ease-in-out is at half.
    clock.advance(OnboardingView::pageChangeMilliseconds / 2000.0);
    view.runFrame();
    EXPECT_TRUE(view.animating());
    EXPECT_NEAR(opacity(), 0.5, 1e-9);
    // A quarter in, ease-in has covered only 2 * 0.25^2 = 0.125 of the way.
    view.backButton()->click();
    view.getStartedButton()->click();
    clock.advance(OnboardingView::pageChangeMilliseconds / 4000.0);
    view.runFrame();
    EXPECT_NEAR(opacity(), 0.125, 1e-9);
    clock.advance(OnboardingView::pageChangeMilliseconds / 1000.0);
    view.runFrame();
    EXPECT_FALSE(view.animating());
    EXPECT_EQ(view.currentPage()->graphicsEffect(), nullptr);

    view.setReduceMotion(true);
    view.backButton()->click();
    EXPECT_FALSE(view.animating());
    EXPECT_EQ(view.currentPage()->graphicsEffect(), nullptr);
}

TEST(Onboarding, FadeRunsOnItsFrameTimerWithTheClock) {
    SteadyClock clock;
    OnboardingView view(true, clock, [](bool) {});
    view.getStartedButton()->click();
    EXPECT_TRUE(view.animating());
    EXPECT_TRUE(QTest::qWaitFor([&] { return !view.animating(); }, 2000));
    EXPECT_EQ(view.currentPage()->graphicsEffect(), nullptr);
}

TEST(Onboarding, LetsPlayFinishesOnceWithTrue) {
    ManualClock clock;
    std::vector<bool> calls;
    OnboardingView view(true, clock, [&](bool open) { calls.push_back(open); });
    view.getStartedButton()->click();
    view.letsPlayButton()->click();
    EXPECT_EQ(calls, std::vector<bool>{true});
}

TEST(Onboarding, WindowHasTitleSizeAndKeys) {
    ManualClock clock;
    int finished = 0;
    OnboardingWindowController window(true, clock, [&](bool) { ++finished; });
    EXPECT_EQ(window.windowTitle(), "Vantrel");
    EXPECT_EQ(window.size(), QSize(600, 610));
    window.showAndActivate();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));

    QSignalSpy quit(&window, &OnboardingWindowController::quitRequested);
    QTest::keyClick(&window, Qt::Key_Q, Qt::ControlModifier);
    EXPECT_EQ(quit.count(), 1);

    // Select All and Copy act on the focused text.
    auto* subtitle = window.view()->currentPage()->findChild<QLabel*>("headingSubtitle");
    ASSERT_NE(subtitle, nullptr);
    subtitle->setFocus();
    QTest::keyClick(&window, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(&window, Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), "Jump, duck, and beat your best while you wait.");

    QTest::keyClick(&window, Qt::Key_W, Qt::ControlModifier);
    EXPECT_FALSE(window.isVisible());
    EXPECT_EQ(finished, 0); // closing is not finishing
}

TEST(Onboarding, BringingForwardRestoresAMinimisedWindow) {
    ManualClock clock;
    OnboardingWindowController window(true, clock, [](bool) {});
    window.showAndActivate();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    window.showMinimized();
    ASSERT_TRUE(window.isMinimized());
    window.showAndActivate();
    EXPECT_FALSE(window.isMinimized());
    EXPECT_TRUE(window.isVisible());
}

TEST(Onboarding, IllustrationDrawsTheNotchAndTheDinosaur) {
    NotchWelcomeIllustration picture;
    picture.resize(400, NotchWelcomeIllustration::preferredHeight);
    QImage image(picture.size(), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::white);
    picture.render(&image, QPoint(), QRegion(), QWidget::DrawChildren); // no window background
    const int columns = NotchWelcomeIllustration::columnCount();
    const int rows = NotchWelcomeIllustration::rowCount();
    const int cell = std::min(400 / columns, NotchWelcomeIllustration::preferredHeight / rows);
    const int left = (400 - cell * columns) / 2;
    const int top = (NotchWelcomeIllustration::preferredHeight - cell * rows) / 2;
    int checked = 0;
    for (int row = 0; row < rows; ++row) {
        for (int column = 0; column < columns; ++column) {
            const QColor pixel =
                image.pixelColor(left + column * cell + cell / 2, top + row * cell + cell / 2);
            switch (NotchWelcomeIllustration::rows()[row][column]) {
            case '#':
            case 'e':
                EXPECT_EQ(pixel, QColor(Qt::black)) << row << "," << column;
                break;
            case 'm':
                EXPECT_GT(pixel.green(), 200) << row << "," << column;
                EXPECT_LT(pixel.red(), pixel.green());
                break;
            case '.':
                EXPECT_EQ(pixel, QColor(Qt::white)) << row << "," << column;
                break;
            default:
                break;
            }
            ++checked;
        }
    }
    EXPECT_EQ(checked, rows * columns);
    // Every row of the picture is as wide as the first.
    for (int row = 0; row < rows; ++row) {
        EXPECT_EQ(static_cast<int>(std::strlen(NotchWelcomeIllustration::rows()[row])), columns) << row;
    }
}

TEST(Onboarding, LaunchAtLoginIsOfferedOnTheLastPageUnticked) {
    ManualClock clock;
    OnboardingView view(true, clock, [](bool) {});
    QCheckBox* box = view.launchAtLoginBox();
    ASSERT_NE(box, nullptr);
    EXPECT_EQ(box->text(), "Launch at Login");
    EXPECT_FALSE(box->isChecked()); // never on unless the user ticks it
    view.setReduceMotion(true);
    EXPECT_FALSE(view.currentPage()->isAncestorOf(box));
    view.getStartedButton()->click();
    EXPECT_TRUE(view.currentPage()->isAncestorOf(box));
    // The view only records the choice; finishing does not tick or untick it.
    box->setChecked(true);
    view.letsPlayButton()->click();
    EXPECT_TRUE(box->isChecked());
}
