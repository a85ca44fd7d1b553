#pragma once

// What the tests of attributes, samples, buffers and textures share.

#include "tests/platform/AsyncSupport.h"

#include <mfobjects.h>

#include <cstdint>
#include <vector>

using Bytes = std::vector<uint8_t>;

// An object that is nothing but one.
class PlainObject final : public TestObject<IUnknown>
{
public:
    explicit PlainObject(std::function<void()> atEnd = {}) : m_atEnd(std::move(atEnd)) {}
    ~PlainObject() override
    {
        if (m_atEnd)
            m_atEnd();
    }

private:
    const std::function<void()> m_atEnd;
};

inline Bytes countingBytes(size_t count)
{
    Bytes bytes(count);
    for (size_t index = 0; index < count; ++index)
        bytes[index] = static_cast<uint8_t>(index * 7 + 1);
    return bytes;
}

inline CComPtr<IMFMediaBuffer> memoryBuffer(const Bytes &content, DWORD room = 0)
{
    CComPtr<IMFMediaBuffer> buffer;
    const auto size = static_cast<DWORD>(content.size());
    EXPECT_EQ(MFCreateMemoryBuffer(room > size ? room : size, &buffer), S_OK);
    BYTE *data = nullptr;
    EXPECT_EQ(buffer->Lock(&data, nullptr, nullptr), S_OK);
    std::copy(content.begin(), content.end(), data);
    EXPECT_EQ(buffer->Unlock(), S_OK);
    EXPECT_EQ(buffer->SetCurrentLength(size), S_OK);
    return buffer;
}

// What Lock() shows of a buffer.
inline Bytes contentOf(IMFMediaBuffer *buffer)
{
    BYTE *data = nullptr;
    DWORD length = 0;
    EXPECT_EQ(buffer->Lock(&data, nullptr, &length), S_OK);
    const Bytes content(data, data + length);
    EXPECT_EQ(buffer->Unlock(), S_OK);
    return content;
}

inline CComPtr<IMFMediaType> mediaType(const GUID &majorType, const GUID &subtype)
{
    CComPtr<IMFMediaType> type;
    EXPECT_EQ(MFCreateMediaType(&type), S_OK);
    EXPECT_EQ(type->SetGUID(MF_MT_MAJOR_TYPE, majorType), S_OK);
    EXPECT_EQ(type->SetGUID(MF_MT_SUBTYPE, subtype), S_OK);
    return type;
}

inline CComPtr<IMFMediaType> videoType(const GUID &subtype)
{
    return mediaType(MFMediaType_Video, subtype);
}

template <typename Interface>
CComPtr<Interface> faceOf(IUnknown *object)
{
    CComPtr<Interface> face;
    object->QueryInterface(__uuidof(Interface), reinterpret_cast<void **>(&face));
    return face;
}

template <typename Interface>
bool isSameObject(Interface *left, IUnknown *right)
{
    return faceOf<IUnknown>(left).p == faceOf<IUnknown>(right).p;
}
