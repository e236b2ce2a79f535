// CArchive's refills, flushes and the string form; the fixed-size paths are inline in the header.
#include "platform/archive.h"

#include <algorithm>
#include <cinttypes>
#include <limits>

#include "platform/exceptions.h"

CArchive::CArchive(CFile& file, Mode mode, std::size_t bufferSize)
    : m_file(file),
      m_mode(mode),
      m_nBufferSize(std::max<std::size_t>(bufferSize, 1)),
      m_buffer(std::make_unique<std::uint8_t[]>(m_nBufferSize)) {
    if (mode == load) {
        const std::uint64_t length = file.GetLength();
        const std::uint64_t position = file.GetPosition();
        m_nFileLeft = position < length ? length - position : 0;
        m_pRead = m_pReadEnd = m_buffer.get();
    } else {
        m_pWrite = m_buffer.get();
        m_pWriteEnd = m_buffer.get() + m_nBufferSize;
    }
}

CArchive::~CArchive() {
    try {
        Close();
    } catch (...) {
        // Destructors must not throw; writers that care call Close() themselves.
    }
}

void CArchive::Flush() {
    CheckOpen();
    if (m_mode != store) return;
    const std::size_t pending = static_cast<std::size_t>(m_pWrite - m_buffer.get());
    m_pWrite = m_buffer.get();
    m_file.Write(m_buffer.get(), pending);
}

void CArchive::Close() {
    if (!m_bOpen) return;
    const auto unread = static_cast<std::int64_t>(m_pReadEnd - m_pRead);
    const bool storing = m_mode == store;
    // Whatever happens below, the archive is closed: a failed flush is not retried.
    struct Shut {
        CArchive& ar;
        ~Shut() {
            ar.m_bOpen = false;
            ar.m_pRead = ar.m_pReadEnd = nullptr;
            ar.m_pWrite = ar.m_pWriteEnd = nullptr;
            ar.m_nFileLeft = 0;
        }
    } shut{*this};
    if (storing) {
        Flush();
    } else if (unread != 0) {
        m_file.Seek(-unread, CFile::current);
    }
}

void CArchive::ReadSlow(void* buffer, std::size_t count) {
    CheckOpen();
    if (m_mode != load) throw CArchiveException("Cannot read from an archive that is storing");
    if (count > GetBytesLeft()) ThrowEndOfData(count);

    auto* out = static_cast<std::uint8_t*>(buffer);
    const std::size_t buffered = static_cast<std::size_t>(m_pReadEnd - m_pRead);
    if (buffered != 0) std::memcpy(out, m_pRead, buffered);
    m_pRead = m_pReadEnd = m_buffer.get();
    out += buffered;
    std::size_t wanted = count - buffered;

    // Large reads go straight to the caller; small ones refill the buffer first.
    if (wanted >= m_nBufferSize) {
        const std::size_t got = m_file.Read(out, wanted);
        m_nFileLeft -= std::min<std::uint64_t>(got, m_nFileLeft);
        if (got != wanted) {
            m_nFileLeft = 0;
            ThrowEndOfData(wanted - got);
        }
        return;
    }
    const std::size_t ask = static_cast<std::size_t>(std::min<std::uint64_t>(m_nBufferSize, m_nFileLeft));
    const std::size_t got = m_file.Read(m_buffer.get(), ask);
    m_nFileLeft -= got;
    if (got < wanted) {
        // The file shrank under us; what it still had is kept for nobody.
        m_nFileLeft = 0;
        ThrowEndOfData(wanted - got);
    }
    m_pReadEnd = m_buffer.get() + got;
    std::memcpy(out, m_pRead, wanted);
    m_pRead += wanted;
}

void CArchive::WriteSlow(const void* buffer, std::size_t count) {
    CheckOpen();
    if (m_mode != store) throw CArchiveException("Cannot write to an archive that is loading");
    const auto* in = static_cast<const std::uint8_t*>(buffer);
    const std::size_t room = static_cast<std::size_t>(m_pWriteEnd - m_pWrite);
    std::memcpy(m_pWrite, in, room);
    m_pWrite += room;
    in += room;
    count -= room;
    Flush();
    if (count >= m_nBufferSize) {
        m_file.Write(in, count);
        return;
    }
    std::memcpy(m_pWrite, in, count);
    m_pWrite += count;
}

void CArchive::ReadString(std::string& out) {
    std::uint64_t length = ReadU8();
    if (length == 0xFF) {
        length = ReadU16();
        if (length == 0xFFFF) length = ReadU32();
    }
    // Checked before any allocation: a damaged length must not reserve gigabytes.
    if (length > GetBytesLeft()) {
        throw CArchiveException(CString::Formatted("String of %" PRIu64 " bytes is longer than the %" PRIu64
                                                   " bytes left in '%s'",
                                                   length, GetBytesLeft(), m_file.GetFilePath().c_str()));
    }
    const auto size = static_cast<std::size_t>(length);
    if (size <= static_cast<std::size_t>(m_pReadEnd - m_pRead)) {
        out.assign(reinterpret_cast<const char*>(m_pRead), size);
        m_pRead += size;
        return;
    }
    out.resize(size);
    Read(out.data(), size);
}

CString CArchive::ReadString() {
    CString text;
    ReadString(text.str());
    return text;
}

void CArchive::WriteString(const char* text, std::size_t length) {
    if (length > std::numeric_limits<std::uint32_t>::max()) {
        throw CArchiveException(CString::Formatted("String of %zu bytes is too long for an archive", length));
    }
    if (length < 255) {
        WriteU8(static_cast<std::uint8_t>(length));
    } else if (length < 65534) {
        WriteU8(0xFF);
        WriteU16(static_cast<std::uint16_t>(length));
    } else {
        WriteU8(0xFF);
        WriteU16(0xFFFF);
        WriteU32(static_cast<std::uint32_t>(length));
    }
    Write(text, length);
}

void CArchive::CheckOpen() const {
    if (!m_bOpen) throw CArchiveException("The archive is closed");
}

void CArchive::ThrowEndOfData(std::uint64_t needed) const {
    throw CArchiveException(CString::Formatted("Unexpected end of '%s': %" PRIu64 " bytes needed, %" PRIu64 " left",
                                               m_file.GetFilePath().c_str(), needed, GetBytesLeft()));
}
