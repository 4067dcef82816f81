#include "Vantrel/audio/QtAudioSink.h"

#include "VantrelCore/Chiptune.h"

#include <QAudioDevice>
#include <QAudioFormat>
#include <QAudioSink>
#include <QIODevice>
#include <QMediaDevices>

namespace vantrel {

namespace {

QAudioFormat streamFormat() {
    // Mono float: the samples as rendered, no conversion; the server spreads it to its channels.
    QAudioFormat f;
    f.setSampleRate(Chiptune::sampleRate);
    f.setChannelCount(1);
    f.setSampleFormat(QAudioFormat::Float);
    return f;
}

} // namespace

QtAudioSink::QtAudioSink(QObject* parent) : AudioSink(parent) {}

QtAudioSink::~QtAudioSink() {
    if (m_sink) {
        m_running = false;
        m_sink->stop();
        delete m_sink;
    }
}

bool QtAudioSink::start(int bufferBytes) {
    if (!m_sink) {
        const QAudioDevice device = QMediaDevices::defaultAudioOutput();
        if (device.isNull()) {
            return false;
        }
        m_sink = new QAudioSink(device, streamFormat(), this);
        connect(m_sink, &QAudioSink::stateChanged, this, [this](QAudio::State state) {
            // Pushed, the sink falls idle after starting only when the server ran dry.
            if (state == QAudio::IdleState && m_running) {
                emit starved();
            }
            // A sink that stops by itself has lost its server.
            if (state == QAudio::StoppedState && m_running && m_sink && m_sink->error() != QAudio::NoError) {
                emit lost();
            }
        });
    }
    m_sink->setBufferSize(bufferBytes);
    m_output = m_sink->start();
    // Without a sound server start() fails at once and says so only here.
    if (m_output == nullptr || m_sink->error() != QAudio::NoError ||
        m_sink->state() == QAudio::StoppedState) {
        m_output = nullptr;
        m_sink->deleteLater(); // a later start makes a fresh one, maybe on a new default device
        m_sink = nullptr;
        return false;
    }
    m_running = true;
    return true;
}

void QtAudioSink::stop() {
    m_running = false;
    m_output = nullptr; // the sink deletes its push device when it stops
    if (m_sink) {
        m_sink->stop();
    }
}

qint64 QtAudioSink::bytesFree() const {
    return m_sink && m_output ? m_sink->bytesFree() : 0;
}

qint64 QtAudioSink::bufferSize() const {
    return m_sink ? m_sink->bufferSize() : 0;
}

void QtAudioSink::write(std::span<const float> samples) {
    if (m_output) {
        m_output->write(reinterpret_cast<const char*>(samples.data()),
                        static_cast<qint64>(samples.size_bytes()));
    }
}

} // namespace vantrel
