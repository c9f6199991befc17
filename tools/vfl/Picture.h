// A picture in memory, RGB at 8 bits, with what a plot needs: filled
// rectangles, lines along the axes, text in a small built-in font, and
// writing it out as a PNG file.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vfl
{
class Picture
{
public:
    struct Colour
    {
        std::uint8_t r, g, b;
    };

    Picture(int width, int height, Colour background);

    int Width() const { return mWidth; }
    int Height() const { return mHeight; }

    // Parts that fall outside the picture are left out.
    void Fill(int x, int y, int width, int height, Colour c);
    void HorizontalLine(int x0, int x1, int y, Colour c);
    void VerticalLine(int x, int y0, int y1, Colour c);
    // Text with its top left corner at (x, y); characters outside printable
    // ASCII show as '?'.
    void Text(int x, int y, std::string const& text, Colour c);
    static int TextWidth(std::string const& text) { return static_cast<int>(text.size()) * kAdvance; }
    static constexpr int kTextHeight = 7;
    static constexpr int kAdvance = 6;

    Colour At(int x, int y) const;

    // Writes the picture as a PNG file; "-" is standard output. False if it
    // cannot be written.
    bool WritePng(std::string const& path) const;

private:
    void Put(int x, int y, Colour c);

    int mWidth;
    int mHeight;
    std::vector<std::uint8_t> mPixels;
};
} // namespace vfl
