#include "QelTsVideoSize.h"

#include <cstdint>
#include <vector>

namespace {

constexpr std::size_t kTsPacket = 188;
constexpr unsigned char kTsSync = 0x47;
constexpr int kStreamTypeH264 = 0x1B;
constexpr int kNalSps = 7;
constexpr int kMaxPictureSide = 1 << 15;

// Reads the bits of an RBSP; reading past its end sets the failure flag and gives zeros.
class BitReader {
public:
    explicit BitReader(const std::vector<unsigned char>& vecData) : m_vecData(vecData) {}

    std::uint32_t Bits(int nCount) {
        std::uint32_t nValue = 0;
        for (int i = 0; i < nCount; ++i) {
            if (m_nBit >= m_vecData.size() * 8) {
                m_bFailed = true;
                return 0;
            }
            const unsigned nByte = m_vecData[m_nBit / 8];
            nValue = (nValue << 1) | ((nByte >> (7 - m_nBit % 8)) & 1u);
            ++m_nBit;
        }
        return nValue;
    }

    // Exp-Golomb codes; anything longer than 32 bits is not a valid parameter set.
    std::uint32_t Ue() {
        int nZeros = 0;
        while (!m_bFailed && Bits(1) == 0) {
            if (++nZeros > 31) {
                m_bFailed = true;
                return 0;
            }
        }
        return static_cast<std::uint32_t>((std::uint64_t{1} << nZeros) - 1 + Bits(nZeros));
    }

    std::int32_t Se() {
        const std::uint32_t nCode = Ue();
        const auto nMagnitude = static_cast<std::int32_t>((nCode + 1) / 2);
        return (nCode & 1u) ? nMagnitude : -nMagnitude;
    }

    bool Failed() const { return m_bFailed; }

private:
    const std::vector<unsigned char>& m_vecData;
    std::size_t m_nBit = 0;
    bool m_bFailed = false;
};

// The NAL unit's payload without its 0x03 emulation prevention bytes.
std::vector<unsigned char> Unescape(const unsigned char* pData, std::size_t nSize) {
    std::vector<unsigned char> vecOut;
    vecOut.reserve(nSize);
    int nZeros = 0;
    for (std::size_t i = 0; i < nSize; ++i) {
        if (nZeros >= 2 && pData[i] == 0x03) {
            nZeros = 0;
            continue;
        }
        nZeros = pData[i] == 0 ? nZeros + 1 : 0;
        vecOut.push_back(pData[i]);
    }
    return vecOut;
}

void SkipScalingList(BitReader& bits, int nSize) {
    int nLast = 8, nNext = 8;
    for (int j = 0; j < nSize && !bits.Failed(); ++j) {
        if (nNext != 0)
            nNext = (nLast + bits.Se() + 256) % 256;
        nLast = nNext == 0 ? nLast : nNext;
    }
}

bool HasChromaFields(std::uint32_t nProfile) {
    switch (nProfile) {
    case 100: case 110: case 122: case 244: case 44: case 83: case 86: case 118: case 128: case 138: case 139:
    case 134: case 135:
        return true;
    default:
        return false;
    }
}

// Collects an elementary stream and reads the first SPS NAL unit that gives a size; a unit
// is complete when the next start code follows it, or the stream ends. Each byte is looked
// at about once.
class SpsFinder {
public:
    void Append(const unsigned char* pData, std::size_t nSize) { m_vecEs.insert(m_vecEs.end(), pData, pData + nSize); }

    bool Find(bool bEnded, QelVideoSize& size) {
        const std::size_t nSize = m_vecEs.size();
        for (;;) {
            if (!m_bBegun) {
                while (m_nScan + 3 < nSize && !(IsStartCode(m_nScan) && (m_vecEs[m_nScan + 3] & 0x1F) == kNalSps))
                    ++m_nScan;
                if (m_nScan + 3 >= nSize)
                    return false;
                m_bBegun = true;
                m_nBegin = m_nScan + 3;
                m_nScan = m_nBegin;
            }
            while (m_nScan + 2 < nSize && !IsUnitEnd(m_nScan))
                ++m_nScan;
            if (m_nScan + 2 >= nSize)
                return bEnded && QelH264SpsSize(m_vecEs.data() + m_nBegin, nSize - m_nBegin, size);
            // A broken one leaves the search to the next.
            m_bBegun = false;
            if (QelH264SpsSize(m_vecEs.data() + m_nBegin, m_nScan - m_nBegin, size))
                return true;
        }
    }

private:
    bool IsStartCode(std::size_t i) const { return m_vecEs[i] == 0 && m_vecEs[i + 1] == 0 && m_vecEs[i + 2] == 1; }
    // A start code or the zero byte of a four-byte one ends a unit.
    bool IsUnitEnd(std::size_t i) const { return m_vecEs[i] == 0 && m_vecEs[i + 1] == 0 && m_vecEs[i + 2] <= 1; }

    std::vector<unsigned char> m_vecEs;
    std::size_t m_nScan = 0;
    std::size_t m_nBegin = 0;
    bool m_bBegun = false;
};

// The payload of a PSI table whose section starts in this packet payload: from the table
// id to the end of the section, without its CRC. False when it does not fit in the packet.
bool TableSpan(const unsigned char* pPayload, std::size_t nPayload, int nTableId, const unsigned char*& pTable,
               std::size_t& nTable) {
    if (nPayload < 1)
        return false;
    const std::size_t nPointer = pPayload[0];
    if (1 + nPointer + 3 > nPayload)
        return false;
    pTable = pPayload + 1 + nPointer;
    if (pTable[0] != nTableId)
        return false;
    const std::size_t nSection = ((pTable[1] & 0x0Fu) << 8) | pTable[2];
    if (nSection < 9 || 1 + nPointer + 3 + nSection > nPayload)
        return false;
    nTable = 3 + nSection - 4;
    return true;
}

int PmtPidOf(const unsigned char* pTable, std::size_t nTable) {
    for (std::size_t i = 8; i + 4 <= nTable; i += 4) {
        const int nProgram = (pTable[i] << 8) | pTable[i + 1];
        if (nProgram != 0)
            return ((pTable[i + 2] & 0x1F) << 8) | pTable[i + 3];
    }
    return -1;
}

int H264PidOf(const unsigned char* pTable, std::size_t nTable) {
    if (nTable < 12)
        return -1;
    std::size_t i = 12 + (((pTable[10] & 0x0Fu) << 8) | pTable[11]);
    while (i + 5 <= nTable) {
        const int nType = pTable[i];
        const int nPid = ((pTable[i + 1] & 0x1F) << 8) | pTable[i + 2];
        if (nType == kStreamTypeH264)
            return nPid;
        i += 5 + (((pTable[i + 3] & 0x0Fu) << 8) | pTable[i + 4]);
    }
    return -1;
}

}  // namespace

bool QelH264SpsSize(const unsigned char* pNal, std::size_t nSize, QelVideoSize& size) {
    if (!pNal || nSize < 4 || (pNal[0] & 0x1F) != kNalSps)
        return false;
    const std::vector<unsigned char> vecRbsp = Unescape(pNal + 1, nSize - 1);
    BitReader bits(vecRbsp);
    const std::uint32_t nProfile = bits.Bits(8);
    bits.Bits(16);  // constraint flags, level
    bits.Ue();      // seq_parameter_set_id
    std::uint32_t nChromaFormat = 1;
    bool bSeparateColourPlanes = false;
    if (HasChromaFields(nProfile)) {
        nChromaFormat = bits.Ue();
        if (nChromaFormat > 3)
            return false;
        if (nChromaFormat == 3)
            bSeparateColourPlanes = bits.Bits(1) != 0;
        bits.Ue();      // bit depth of luma
        bits.Ue();      // bit depth of chroma
        bits.Bits(1);   // lossless transform bypass
        if (bits.Bits(1)) {
            const int nLists = nChromaFormat != 3 ? 8 : 12;
            for (int i = 0; i < nLists && !bits.Failed(); ++i)
                if (bits.Bits(1))
                    SkipScalingList(bits, i < 6 ? 16 : 64);
        }
    }
    bits.Ue();  // log2 of the largest frame number
    const std::uint32_t nPocType = bits.Ue();
    if (nPocType == 0) {
        bits.Ue();
    } else if (nPocType == 1) {
        bits.Bits(1);
        bits.Se();
        bits.Se();
        const std::uint32_t nCycle = bits.Ue();
        if (nCycle > 255)
            return false;
        for (std::uint32_t i = 0; i < nCycle && !bits.Failed(); ++i)
            bits.Se();
    } else if (nPocType != 2) {
        return false;
    }
    bits.Ue();     // reference frames
    bits.Bits(1);  // gaps in frame numbers
    const std::uint64_t nWidthMbs = std::uint64_t{bits.Ue()} + 1;
    const std::uint64_t nHeightMapUnits = std::uint64_t{bits.Ue()} + 1;
    const std::uint64_t nFrameMbsOnly = bits.Bits(1);
    if (!nFrameMbsOnly)
        bits.Bits(1);  // adaptive frame/field
    bits.Bits(1);      // direct 8x8 inference
    std::uint64_t nCropLeft = 0, nCropRight = 0, nCropTop = 0, nCropBottom = 0;
    if (bits.Bits(1)) {
        nCropLeft = bits.Ue();
        nCropRight = bits.Ue();
        nCropTop = bits.Ue();
        nCropBottom = bits.Ue();
    }
    if (bits.Failed())
        return false;

    // Crop offsets count chroma samples, and for field pictures pairs of lines.
    const std::uint32_t nChromaArrayType = bSeparateColourPlanes ? 0 : nChromaFormat;
    const std::uint64_t nSubWidth = (nChromaFormat == 1 || nChromaFormat == 2) ? 2 : 1;
    const std::uint64_t nSubHeight = nChromaFormat == 1 ? 2 : 1;
    const std::uint64_t nCropUnitX = nChromaArrayType == 0 ? 1 : nSubWidth;
    const std::uint64_t nCropUnitY = (nChromaArrayType == 0 ? 1 : nSubHeight) * (2 - nFrameMbsOnly);
    const std::uint64_t nCodedWidth = nWidthMbs * 16;
    const std::uint64_t nCodedHeight = (2 - nFrameMbsOnly) * nHeightMapUnits * 16;
    const std::uint64_t nCropX = nCropUnitX * (nCropLeft + nCropRight);
    const std::uint64_t nCropY = nCropUnitY * (nCropTop + nCropBottom);
    if (nCodedWidth > kMaxPictureSide || nCodedHeight > kMaxPictureSide || nCropX >= nCodedWidth ||
        nCropY >= nCodedHeight)
        return false;
    size.nWidth = static_cast<int>(nCodedWidth - nCropX);
    size.nHeight = static_cast<int>(nCodedHeight - nCropY);
    return true;
}

bool QelTsVideoSize(const unsigned char* pData, std::size_t nSize, QelVideoSize& size) {
    if (!pData)
        return false;
    int nPmtPid = -1, nVideoPid = -1;
    bool bInPes = false;
    SpsFinder sps;
    for (std::size_t nOffset = 0; nOffset + kTsPacket <= nSize; nOffset += kTsPacket) {
        const unsigned char* pPacket = pData + nOffset;
        if (pPacket[0] != kTsSync)
            return false;
        const int nPid = ((pPacket[1] & 0x1F) << 8) | pPacket[2];
        const bool bUnitStart = (pPacket[1] & 0x40) != 0;
        const int nAdaptation = (pPacket[3] >> 4) & 3;
        std::size_t nHeader = 4;
        if (nAdaptation & 2)
            nHeader += 1 + pPacket[4];
        if (!(nAdaptation & 1) || nHeader >= kTsPacket)
            continue;
        const unsigned char* pPayload = pPacket + nHeader;
        std::size_t nPayload = kTsPacket - nHeader;
        const unsigned char* pTable = nullptr;
        std::size_t nTable = 0;

        if (nPid == 0 && bUnitStart && nPmtPid < 0) {
            if (TableSpan(pPayload, nPayload, 0x00, pTable, nTable))
                nPmtPid = PmtPidOf(pTable, nTable);
        } else if (nPid == nPmtPid && bUnitStart && nVideoPid < 0) {
            if (TableSpan(pPayload, nPayload, 0x02, pTable, nTable))
                nVideoPid = H264PidOf(pTable, nTable);
        } else if (nPid == nVideoPid && nPid >= 0) {
            if (bUnitStart) {
                // A PES packet begins: its header goes, its elementary stream stays.
                if (nPayload < 9 || pPayload[0] != 0 || pPayload[1] != 0 || pPayload[2] != 1 ||
                    9u + pPayload[8] > nPayload) {
                    bInPes = false;
                    continue;
                }
                const std::size_t nPesHeader = 9u + pPayload[8];
                pPayload += nPesHeader;
                nPayload -= nPesHeader;
                bInPes = true;
            }
            if (!bInPes)
                continue;
            sps.Append(pPayload, nPayload);
            if (sps.Find(false, size))
                return true;
        }
    }
    return sps.Find(true, size);
}
