#pragma once

#include "XServerProbe.h"

#include "Vantrel/platform/x11/X11FramePresenter.h"

#include <QGuiApplication>

#include <gtest/gtest.h>

#include <memory>

// Tests of frames put straight into windows: Qt on xcb with the X11 presenter,
// and a connection of the test's own to read back what the server shows.
class PresenterTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (QGuiApplication::platformName() != QLatin1String("xcb")) {
            GTEST_SKIP() << "needs the xcb platform on an X server, not "
                         << qPrintable(QGuiApplication::platformName());
        }
        m_probe = std::make_unique<XServerProbe>();
        ASSERT_TRUE(m_probe->ok());
        QString error;
        m_presenter = vantrel::platform::x11::X11FramePresenter::create(&error);
        ASSERT_NE(m_presenter, nullptr) << qPrintable(error);
    }
    void TearDown() override {
        m_presenter.reset();
        m_probe.reset();
    }

    std::unique_ptr<XServerProbe> m_probe;
    std::unique_ptr<vantrel::platform::x11::X11FramePresenter> m_presenter;
};
