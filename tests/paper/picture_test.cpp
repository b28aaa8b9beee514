#include "paper/picture.h"

#include <gmock/gmock.h>

// What jpeglib.h needs before it.
#include <cstdio>
//
#include <jpeglib.h>

#include <array>
#include <cstdlib>
#include <random>

#include "tests/fakes/error_of.h"

namespace mox {
namespace {

// Where the pixel's bytes begin.
std::size_t PlaceOf(const Picture& picture, int x, int y) {
  return (static_cast<std::size_t>(y) * static_cast<std::size_t>(picture.width) +
          static_cast<std::size_t>(x)) *
         4;
}

// Red to the left, green to the right, the upper half transparent.
Picture Sample(int width, int height) {
  Picture picture{width, height, {}};
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const bool left = x < width / 2;
      const std::uint8_t opacity = y < height / 2 ? 0 : 255;
      picture.pixels.insert(picture.pixels.end(),
                            {static_cast<std::uint8_t>(left && opacity != 0 ? 255 : 0),
                             static_cast<std::uint8_t>(left || opacity == 0 ? 0 : 255), 0, opacity});
    }
  }
  return picture;
}

constexpr char kGifBytes[] =
    "GIF89a\x02\x00\x01\x00\x80\x00\x00\xFF\x00\x00\x00\xFF\x00,"
    "\x00\x00\x00\x00\x02\x00\x01\x00\x00\x02\x02\x44\x0A\x00;";
constexpr std::string_view kGif(kGifBytes, sizeof kGifBytes - 1);

std::string FaultOf(std::string_view bytes) {
  return ErrorOf([&] { DecodePicture(bytes); });
}

// A picture of one pixel of cyan, magenta, yellow and black, by a program that notes itself or does not.
std::string JpegOfInks(std::array<JSAMPLE, 4> inks, bool is_noted) {
  jpeg_error_mgr errors{};
  jpeg_compress_struct made{};
  made.err = ::jpeg_std_error(&errors);
  jpeg_create_compress(&made);
  unsigned char* bytes = nullptr;
  unsigned long size = 0;  // NOLINT: as libjpeg has it
  ::jpeg_mem_dest(&made, &bytes, &size);
  made.image_width = made.image_height = 1;
  made.input_components = 4;
  made.in_color_space = JCS_CMYK;
  ::jpeg_set_defaults(&made);
  ::jpeg_set_quality(&made, 100, TRUE);
  made.write_Adobe_marker = is_noted ? TRUE : FALSE;
  ::jpeg_start_compress(&made, TRUE);
  JSAMPROW row = inks.data();
  ::jpeg_write_scanlines(&made, &row, 1);
  ::jpeg_finish_compress(&made);
  std::string text(reinterpret_cast<const char*>(bytes), size);
  ::jpeg_destroy_compress(&made);
  std::free(bytes);  // NOLINT: libjpeg took it
  return text;
}

TEST(PictureTest, MixesInks) {
  for (const std::string& red : {JpegOfInks({255, 0, 0, 255}, true), JpegOfInks({0, 255, 255, 0}, false)}) {
    const Picture picture = DecodePicture(red);
    ASSERT_EQ(picture.pixels.size(), 4U);
    EXPECT_GT(picture.pixels[0], 250);
    EXPECT_LT(picture.pixels[1] + picture.pixels[2], 10);
    EXPECT_EQ(picture.pixels[3], 255);
  }
}

TEST(PictureTest, ReadsSizesFromHeadersAndPixelsOfEachKind) {
  const Picture sample = Sample(30, 20);
  const std::string png = EncodePng(sample);
  const std::string jpeg = EncodeJpeg(sample);
  EXPECT_EQ(DecodePicture(png).pixels, sample.pixels);
  const struct {
    std::string_view bytes;
    PictureKind kind;
    int width;
    int height;
  } rows[] = {
      {png, PictureKind::kPng, 30, 20}, {jpeg, PictureKind::kJpeg, 30, 20}, {kGif, PictureKind::kGif, 2, 1}};
  for (const auto& row : rows) {
    const PictureHeader header = ReadPictureHeader(row.bytes);
    EXPECT_EQ(header.kind, row.kind);
    EXPECT_EQ(header.width, row.width);
    EXPECT_EQ(header.height, row.height);
    EXPECT_EQ(DecodePicture(row.bytes).pixels.size(), PlaceOf({row.width, row.height, {}}, 0, row.height));
  }
}

// Whatever is cut off or changed is told or harmless, and takes no more than its size.
TEST(PictureTest, TellsDamagedAndLyingPictures) {
  const std::string png = EncodePng(Sample(40, 40));
  const std::string jpeg = EncodeJpeg(Sample(40, 40));
  std::string huge = png;
  huge.replace(16, 8, std::string("\x00\x01\x00\x00\x00\x01\x00\x00", 8));
  std::string wider = png;
  wider[19] = 41;
  std::string flipped = png;
  flipped[png.size() - 20] = static_cast<char>(flipped[png.size() - 20] ^ 1);
  std::string nothing(kGif);
  nothing[6] = 0;
  std::string passes = jpeg;
  for (int i = 0; i < 100; ++i) passes += "\xFF\xDA";
  std::string taller = jpeg;
  taller[jpeg.find("\xFF\xC0") + 6] = 120;  // more rows than there is data for
  std::string large(kGif);
  large[6] = 9;
  std::string frame = large;
  frame[24] = 9;  // as large as its header says, with the pixels of the small one
  const struct {
    std::string bytes;
    const char* says;
  } rows[] = {{"", "is no JPEG, PNG or GIF"},
              {jpeg.substr(0, jpeg.size() / 2), "cannot be decoded"},
              {jpeg.substr(0, jpeg.size() - 20), "cannot be decoded"},
              {taller, "cannot be decoded"},
              {std::string(kGif.substr(0, kGif.size() - 4)), "it ends early"},
              {large, "it has 2 x 1 pixels, its header says 9 x 1"},
              {frame, "it has 2 of its pixels"},
              {"BM", "is no JPEG, PNG or GIF"},
              {png.substr(0, 20), "ends within its header"},
              {jpeg.substr(0, 3), "ends within its header"},
              {huge, "is too large: 65536 x 65536 pixels"},
              {wider, "cannot be decoded: IHDR: CRC error"},
              {nothing, "says that it has 0 x 1 pixels"},
              {passes, "has too many passes"},
              {png.substr(0, png.size() / 2), "cannot be decoded: it ends early"},
              {flipped, "cannot be decoded: IDAT: "}};
  for (const auto& row : rows) {
    EXPECT_THAT(FaultOf(row.bytes), testing::HasSubstr(row.says));
  }
  std::mt19937 random(7);  // NOLINT: the same in every run
  for (const std::string& whole : {png, jpeg, std::string(kGif)}) {
    for (std::size_t size = 0; size < whole.size(); ++size) FaultOf(std::string_view(whole).substr(0, size));
    for (int i = 0; i < 300; ++i) {
      std::string spoiled = whole;
      spoiled[random() % spoiled.size()] = static_cast<char>(random());
      FaultOf(spoiled);
    }
  }
}

// A camera stores what its sensor sees, and how it was held.
TEST(PictureTest, TurnsPhotographsAsTheyWereTaken) {
  Picture stored{32, 16, {}};  // dark, but for a bright corner above to the left
  for (int y = 0; y < 16; ++y) {
    for (int x = 0; x < 32; ++x) {
      const std::uint8_t shade = x < 16 && y < 8 ? 250 : 5;
      stored.pixels.insert(stored.pixels.end(), {shade, shade, shade, 255});
    }
  }
  const std::string jpeg = EncodeJpeg(stored);
  const auto taken = [&](char orientation, bool little) {
    const std::string tag =
        little ? std::string("II*\0\x08\0\0\0\x01\0\x12\x01\x03\0\x01\0\0\0", 18) + orientation
               : std::string("MM\0*\0\0\0\x08\0\x01\x01\x12\0\x03\0\0\0\x01\0", 19) + orientation;
    const std::string tiff = tag + std::string(26 - tag.size() + 4, '\0');
    const std::string exif = std::string("Exif\0\0", 6) + tiff;
    return jpeg.substr(0, 2) + "\xFF\xE1" + '\0' + static_cast<char>(exif.size() + 2) + exif + jpeg.substr(2);
  };
  // Where the bright corner is to be seen: to the right, below; and whether rows are columns.
  const struct {
    char orientation;
    bool right;
    bool below;
    bool swaps;
  } rows[] = {{0, false, false, false}, {1, false, false, false}, {2, true, false, false},
              {3, true, true, false},   {4, false, true, false},  {5, false, false, true},
              {6, true, false, true},   {7, true, true, true},    {8, false, true, true},
              {9, false, false, false}};
  for (const auto& row : rows) {
    for (const bool little : {false, true}) {
      const std::string bytes = taken(row.orientation, little);
      const int width = row.swaps ? 16 : 32;
      EXPECT_EQ(ReadPictureHeader(bytes).width, width) << int{row.orientation};
      const Picture seen = DecodePicture(bytes);
      ASSERT_EQ(seen.width, width);
      ASSERT_EQ(seen.height, 48 - width);
      for (const bool right : {false, true}) {
        for (const bool below : {false, true}) {
          const int x = right ? seen.width - 3 : 2;
          const int y = below ? seen.height - 3 : 2;
          EXPECT_EQ(seen.pixels[PlaceOf(seen, x, y)] > 128, right == row.right && below == row.below)
              << int{row.orientation} << " " << x << "," << y;
        }
      }
    }
  }
}

TEST(PictureTest, ResizesInProportionAndCropsFromTheMiddle) {
  const Picture sample = Sample(400, 200);
  const Picture small = ResizedTo(sample, 100, 100);
  EXPECT_EQ(small.width, 100);
  EXPECT_EQ(small.height, 50);
  // Below to the left it is red, to the right green, above transparent.
  const auto pixel = [&](int x, int y) { return &small.pixels[PlaceOf(small, x, y)]; };
  EXPECT_GT(pixel(10, 45)[0], 250);
  EXPECT_GT(pixel(90, 45)[1], 250);
  EXPECT_EQ(pixel(50, 5)[3], 0);
  EXPECT_EQ(ResizedTo(sample, 1000, 1000).pixels, sample.pixels);
  EXPECT_EQ(ResizedTo(Sample(1000, 1), 10, 10).height, 1);
  const Picture square = CroppedTo(sample, 1, 1);
  EXPECT_EQ(square.width, 200);
  EXPECT_EQ(square.height, 200);
  EXPECT_EQ(square.pixels[PlaceOf(square, 0, 199)], 255);  // red begins
  EXPECT_EQ(square.pixels[PlaceOf(square, 100, 199)], 0);  // green in the middle
  EXPECT_EQ(CroppedTo(Sample(20, 90), 2, 1).height, 10);
}

}  // namespace
}  // namespace mox
