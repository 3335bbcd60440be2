// Renders the skin: skin_renderer SOURCES OUTPUT
//
// SOURCES/101.svg .. 109.svg become OUTPUT/1x/101.bmp .. and, at twice the scale, OUTPUT/2x/101.bmp
// ..; SOURCES/icon.svg becomes OUTPUT/icon/16.png .. 256.png.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

#include "tools/skin_renderer/picture.h"
#include "tools/skin_renderer/template.h"
#include "widgets/skin_places.h"

namespace skin_renderer {
namespace {

constexpr int kPixelsPerMetre = 3780;  // 96 to the inch

void Write(const std::string& path, const std::string& bytes) {
  std::ofstream file(path, std::ios::binary);
  file << bytes;
  file.close();
  if (!file) throw std::runtime_error("cannot write " + path);
}

void RenderSheet(const std::string& sources, const vexolo::SkinSheet& sheet,
                 const std::string& output) {
  const std::string name = std::to_string(sheet.id);
  Variables variables;
  const std::string svg = Expand(sources, name + ".svg", variables);
  for (const int scale : {1, 2}) {
    const Picture picture = Draw(svg, sheet.width * scale, sheet.height * scale);
    std::string path = output + "/" + std::to_string(scale) + "x/";
    path.append(name).append(".bmp");
    Write(path, ToBmp(picture, sheet.bits, kPixelsPerMetre * scale));
  }
}

void RenderIcon(const std::string& sources, const std::string& output) {
  for (const int size : vexolo::kIconSizes) {
    Variables variables{{"size", static_cast<double>(size)}};
    const std::string svg = Expand(sources, "icon.svg", variables);
    WritePng(Draw(svg, size, size), output + "/icon/" + std::to_string(size) + ".png");
  }
}

void Render(const std::string& sources, const std::string& output) {
  for (const char* folder : {"1x", "2x", "icon"}) {
    std::filesystem::create_directories(output + "/" + folder);
  }
  for (const vexolo::SkinSheet& sheet : vexolo::kSkinSheets) RenderSheet(sources, sheet, output);
  RenderIcon(sources, output);
}

}  // namespace
}  // namespace skin_renderer

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: skin_renderer SOURCES OUTPUT\n");
    return 2;
  }
  try {
    skin_renderer::Render(argv[1], argv[2]);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "skin_renderer: %s\n", error.what());
    return 1;
  }
  return 0;
}
