// An independent walk over a chunked file, RIFF (and RF64) little-endian or
// FORM big-endian: the form header, then each chunk's id, size and the
// position of its header, stepping over pad bytes.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

class ChunkWalker
{
public:
    struct Chunk
    {
        std::string id;
        std::int64_t at; // header position; -1: not found
        std::uint32_t size;
    };
    using Bytes = std::vector<std::uint8_t>;

    static bool IsBigEndian(Bytes const& b) { return b.size() >= 4 && std::string(b.begin(), b.begin() + 4) == "FORM"; }
    // n bytes at `at` in the file's own byte order, or big-endian.
    static std::uint64_t Number(Bytes const& b, std::int64_t at, int n, bool bigEndian)
    {
        std::uint64_t v = 0;
        for (int i = 0; i < n; ++i)
            v |= std::uint64_t{b[static_cast<std::size_t>(at + i)]} << 8 * (bigEndian ? n - 1 - i : i);
        return v;
    }
    static std::uint64_t Number(Bytes const& b, std::int64_t at, int n) { return Number(b, at, n, IsBigEndian(b)); }

    static std::vector<Chunk> Walk(Bytes const& b)
    {
        std::vector<Chunk> out;
        std::int64_t pos = 0;
        while (pos + 8 <= static_cast<std::int64_t>(b.size()))
        {
            auto const size = static_cast<std::uint32_t>(Number(b, pos + 4, 4));
            out.push_back({std::string(b.begin() + pos, b.begin() + pos + 4), pos, size});
            pos += pos == 0 ? 12 : 8 + std::int64_t{size} + (size & 1);
        }
        return out;
    }
    static Chunk Find(Bytes const& b, std::string const& id)
    {
        for (auto const& c : Walk(b))
            if (c.id == id)
                return c;
        return {"", -1, 0};
    }
    // "id@position:size" of each chunk, one blank between them.
    static std::string Layout(Bytes const& b)
    {
        std::string out;
        for (auto const& c : Walk(b))
            out += (out.empty() ? "" : " ") + c.id + "@" + std::to_string(c.at) + ":" + std::to_string(c.size);
        return out;
    }
    // The same chunks with the audio chunk last, as some tools order them:
    // everything else stands in front of the audio.
    static Bytes AudioLast(Bytes const& b)
    {
        Bytes front(b.begin(), b.begin() + 12), audio;
        for (auto const& c : Walk(b))
        {
            Bytes& to = c.id == "data" || c.id == "SSND" ? audio : front;
            if (c.at > 0)
                to.insert(to.end(), b.begin() + c.at, b.begin() + c.at + 8 + c.size + (c.size & 1));
        }
        front.insert(front.end(), audio.begin(), audio.end());
        return front;
    }
    // The ids of the chunks, one blank between them ('fmt ' keeps its own).
    static std::string Ids(Bytes const& b)
    {
        std::string ids;
        for (auto const& c : Walk(b))
            ids += (ids.empty() ? "" : " ") + c.id;
        return ids;
    }
};
