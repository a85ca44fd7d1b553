#pragma once

// A WAV file of 16 bits at 48 kHz, as other programs would write it.

#include <QtCore/QByteArray>
#include <QtCore/QtEndian>

template <class Number>
QByteArray littleEndian(Number number)
{
    QByteArray bytes(sizeof number, 0);
    qToLittleEndian(number, bytes.data());
    return bytes;
}

// sampleAt(sample, channel) for samples from 0 on, `length` of each channel.
template <class SampleAt>
QByteArray wavFile(int channels, int length, SampleAt sampleAt)
{
    QByteArray body;
    for (int sample = 0; sample < length; ++sample) {
        for (int channel = 0; channel < channels; ++channel)
            body += littleEndian(static_cast<qint16>(sampleAt(sample, channel)));
    }
    const auto frameBytes = static_cast<quint16>(2 * channels);
    const QByteArray format = littleEndian<quint16>(1) + littleEndian(static_cast<quint16>(channels)) +
                              littleEndian<quint32>(48000) + littleEndian<quint32>(48000U * frameBytes) +
                              littleEndian(frameBytes) + littleEndian<quint16>(16);
    return "RIFF" + littleEndian(static_cast<quint32>(body.size() + 36)) + "WAVEfmt " + littleEndian<quint32>(16) +
           format + "data" + littleEndian(static_cast<quint32>(body.size())) + body;
}
