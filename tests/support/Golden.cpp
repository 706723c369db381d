// See Golden.h.
#include "Golden.h"

#define STB_IMAGE_IMPLEMENTATION
#define STB_IMAGE_STATIC
#define STBI_ONLY_PNG
#include <stb_image.h>
#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STB_IMAGE_WRITE_STATIC
#include <stb_image_write.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <vector>

namespace {

namespace fs = std::filesystem;

struct Rgb {
    int width = 0, height = 0;
    std::vector<u8> bytes;
};

Rgb FromDib(const CDib& dib)
{
    Rgb picture{dib.GetWidth(), dib.GetHeight(), {}};
    for (int y = 0; y < picture.height; ++y) {
        for (int x = 0; x < picture.width; ++x) {
            const COLORREF colour = dib.GetPixelColor(x, y);
            picture.bytes.insert(picture.bytes.end(), {GetRValue(colour), GetGValue(colour), GetBValue(colour)});
        }
    }
    return picture;
}

Rgb Load(const fs::path& path)
{
    int width = 0, height = 0, channels = 0;
    const std::unique_ptr<u8, void (*)(void*)> loaded(stbi_load(path.string().c_str(), &width, &height, &channels, 3),
                                                      stbi_image_free);
    if (!loaded)
        return {};
    return {width, height, std::vector<u8>(loaded.get(), loaded.get() + std::ptrdiff_t(3) * width * height)};
}

bool Save(const fs::path& path, const Rgb& picture)
{
    return stbi_write_png(path.string().c_str(), picture.width, picture.height, 3, picture.bytes.data(),
                          3 * picture.width) != 0;
}

/// The stored picture, pale, and in red what is another pixel or none in the other one.
Rgb Difference(const Rgb& stored, const Rgb& actual)
{
    Rgb difference = stored;
    for (int y = 0; y < stored.height; ++y) {
        for (int x = 0; x < stored.width; ++x) {
            u8* const to = &difference.bytes[static_cast<std::size_t>(y * stored.width + x) * 3];
            const u8* const other = x < actual.width && y < actual.height
                                        ? &actual.bytes[static_cast<std::size_t>(y * actual.width + x) * 3]
                                        : nullptr;
            const bool same = other && std::equal(to, to + 3, other);
            for (int c = 0; c < 3; ++c)
                to[c] = static_cast<u8>(same ? 192 + to[c] / 4 : c == 0 ? 255 : 0);
        }
    }
    return difference;
}

} // namespace

testing::AssertionResult IsGolden(const std::string& name, const CDib& picture)
{
    const fs::path path = fs::path(NVLIB_TEST_FIXTURES) / (name + ".png");
    const Rgb actual = FromDib(picture);
    if (std::getenv("NVLIB_REWRITE_GOLDEN"))
        return testing::AssertionFailure() << (Save(path, actual) ? "rewritten: " : "could not be rewritten: ") << path;
    const Rgb stored = Load(path);
    if (stored.width == actual.width && stored.height == actual.height && stored.bytes == actual.bytes)
        return testing::AssertionSuccess();
    const fs::path folder = "golden-failures";
    fs::create_directories(folder);
    const fs::path seen = folder / (name + ".actual.png"), where = folder / (name + ".difference.png");
    Save(seen, actual);
    if (!stored.bytes.empty())
        Save(where, Difference(stored, actual));
    return testing::AssertionFailure() << "not as " << path << " (" << stored.width << " x " << stored.height
                                       << "): see " << fs::absolute(seen) << " and " << fs::absolute(where);
}
