#include "paper/text_painter.h"

#include <pango/pangocairo.h>

#include <map>

#include "mox/foundation/error.h"
#include "mox/foundation/text.h"
#include "mox/foundation/visible_text.h"

namespace mox {
namespace {

struct Unref {
  template <typename T>
  void operator()(T* object) const {
    g_object_unref(object);
  }
  void operator()(PangoFontDescription* description) const { pango_font_description_free(description); }
  void operator()(PangoFontMetrics* metrics) const { pango_font_metrics_unref(metrics); }
  void operator()(cairo_font_options_t* options) const { cairo_font_options_destroy(options); }
  void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
};
template <typename T>
using Owned = std::unique_ptr<T, Unref>;

double InPoints(int units) { return static_cast<double>(units) / PANGO_SCALE; }

bool HasFamily(PangoFontMap* map, std::string_view name) {
  PangoFontFamily** families = nullptr;
  int count = 0;
  pango_font_map_list_families(map, &families, &count);
  bool found = false;
  for (int i = 0; i < count; ++i) found = found || SameName(pango_font_family_get_name(families[i]), name);
  g_free(families);
  return found;
}

}  // namespace

bool IsInstalledFont(std::string_view name) {
  const Owned<PangoFontMap> map(pango_cairo_font_map_new());
  return HasFamily(map.get(), name);
}

struct TextPainter::Impl {
  Owned<PangoFontMap> map;
  Owned<PangoContext> context;
  Owned<PangoLayout> layout;
  Owned<PangoFontDescription> font;
  std::map<std::pair<double, bool>, double> line_heights;
  std::map<std::pair<bool, std::string>, double> letters;  // widths at size 1

  void Set(const std::string& text, const TextStyle& style, double wrap_width) const {
    pango_font_description_set_absolute_size(font.get(), style.size * PANGO_SCALE);
    pango_font_description_set_weight(font.get(), style.bold ? PANGO_WEIGHT_BOLD : PANGO_WEIGHT_NORMAL);
    pango_layout_set_font_description(layout.get(), font.get());
    pango_layout_set_width(layout.get(), wrap_width > 0 ? static_cast<int>(wrap_width * PANGO_SCALE) : -1);
    pango_layout_set_text(layout.get(), text.data(), static_cast<int>(text.size()));
    if (pango_layout_get_unknown_glyphs_count(layout.get()) > 0) {
      throw Error("no installed font has all letters of " + InQuotes(text));
    }
  }
  // As it stands in its box.
  void Place(const LaidText& text) const {
    Set(text.text, text.style, text.wraps || text.align != Align::kLeft ? text.width : 0);
    pango_layout_set_alignment(layout.get(), text.align == Align::kRight    ? PANGO_ALIGN_RIGHT
                                             : text.align == Align::kCenter ? PANGO_ALIGN_CENTER
                                                                            : PANGO_ALIGN_LEFT);
  }
};

TextPainter::TextPainter(const std::string& font) : impl_(std::make_unique<Impl>()) {
  impl_->map.reset(pango_cairo_font_map_new());
  if (!HasFamily(impl_->map.get(), font)) throw Error("the font " + InQuotes(font) + " is not installed");
  impl_->context.reset(pango_font_map_create_context(impl_->map.get()));
  // Metrics do not depend on the device: the same text is as wide on every output.
  const Owned<cairo_font_options_t> options(cairo_font_options_create());
  cairo_font_options_set_hint_style(options.get(), CAIRO_HINT_STYLE_NONE);
  cairo_font_options_set_hint_metrics(options.get(), CAIRO_HINT_METRICS_OFF);
  cairo_font_options_set_antialias(options.get(), CAIRO_ANTIALIAS_GRAY);
  pango_cairo_context_set_font_options(impl_->context.get(), options.get());
  pango_context_set_language(impl_->context.get(), pango_language_from_string("hr"));
  pango_context_set_round_glyph_positions(impl_->context.get(), FALSE);
  impl_->layout.reset(pango_layout_new(impl_->context.get()));
  pango_layout_set_wrap(impl_->layout.get(), PANGO_WRAP_WORD_CHAR);
  // A word that is broken gets no hyphen, which would look like a part of a code or serial number.
  PangoAttrList* const attributes = pango_attr_list_new();
  pango_attr_list_insert(attributes, pango_attr_insert_hyphens_new(FALSE));
  pango_layout_set_attributes(impl_->layout.get(), attributes);
  pango_attr_list_unref(attributes);
  impl_->font.reset(pango_font_description_new());
  pango_font_description_set_family(impl_->font.get(), font.c_str());
}

TextPainter::~TextPainter() = default;

TextPainter::Size TextPainter::Measure(const std::string& text, const TextStyle& style, double wrap_width) {
  impl_->Set(text, style, wrap_width);
  int width = 0;
  int height = 0;
  pango_layout_get_size(impl_->layout.get(), &width, &height);
  return {InPoints(width), InPoints(height)};
}

double TextPainter::LineHeight(const TextStyle& style) {
  const auto [found, is_new] = impl_->line_heights.try_emplace({style.size, style.bold}, 0);
  if (is_new) found->second = Measure("Žg", style).height;
  return found->second;
}

double TextPainter::WidthAtMost(std::string_view text, const TextStyle& style) {
  constexpr double kSample = 100;
  double width = 0;
  while (!text.empty()) {
    const std::string_view letter = CutToCharacters(text, 1);
    const auto [found, is_new] = impl_->letters.try_emplace({style.bold, std::string(letter)}, 0);
    // Beside itself, as blanks alone have no ink but a width.
    if (is_new) found->second = Measure(std::string(letter), {kSample, style.bold}).width / kSample;
    width += found->second;
    text.remove_prefix(letter.size());
  }
  return width * style.size;
}

std::vector<TextPainter::Line> TextPainter::LinesOf(const LaidText& text) {
  impl_->Place(text);
  std::vector<Line> lines;
  lines.reserve(static_cast<std::size_t>(pango_layout_get_line_count(impl_->layout.get())));
  const std::unique_ptr<PangoLayoutIter, void (*)(PangoLayoutIter*)> at(
      pango_layout_get_iter(impl_->layout.get()), pango_layout_iter_free);
  do {
    const PangoLayoutLine* const line = pango_layout_iter_get_line_readonly(at.get());
    PangoRectangle box;
    pango_layout_iter_get_line_extents(at.get(), nullptr, &box);
    const auto from = static_cast<std::size_t>(line->start_index);
    // The blank at which a line was broken takes no room.
    std::string_view words = std::string_view(text.text).substr(from, static_cast<std::size_t>(line->length));
    words = words.substr(0, words.find_last_not_of(' ') + 1);
    if (words.empty()) continue;
    lines.push_back({text.x + InPoints(box.x), text.y + InPoints(pango_layout_iter_get_baseline(at.get())),
                     InPoints(box.width), std::string(words)});
  } while (pango_layout_iter_next_line(at.get()) != FALSE);
  pango_layout_set_alignment(impl_->layout.get(), PANGO_ALIGN_LEFT);
  return lines;
}

void TextPainter::Draw(cairo_t* cairo, const LaidText& text) {
  impl_->Place(text);
  cairo_move_to(cairo, text.x, text.y);
  pango_cairo_show_layout(cairo, impl_->layout.get());
  pango_layout_set_alignment(impl_->layout.get(), PANGO_ALIGN_LEFT);
}

namespace {

void DrawPicture(cairo_t* cairo, const LaidPicture& laid) {
  const Picture& picture = *laid.picture;
  const Owned<cairo_surface_t> surface(
      cairo_image_surface_create(CAIRO_FORMAT_ARGB32, picture.width, picture.height));
  if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS)
    throw Error("not enough memory for a picture");
  const auto stride = static_cast<std::size_t>(cairo_image_surface_get_stride(surface.get()));
  unsigned char* const to = cairo_image_surface_get_data(surface.get());
  for (int y = 0; y < picture.height; ++y) {
    for (int x = 0; x < picture.width; ++x) {
      const std::size_t from = (static_cast<std::size_t>(y) * static_cast<std::size_t>(picture.width) +
                                static_cast<std::size_t>(x)) *
                               4;
      const std::uint32_t opacity = picture.pixels[from + 3];
      const auto shade = [&](std::size_t channel) {
        return (picture.pixels[from + channel] * opacity + 127U) / 255U;
      };
      const std::uint32_t pixel = opacity << 24U | shade(0) << 16U | shade(1) << 8U | shade(2);
      reinterpret_cast<std::uint32_t*>(to + static_cast<std::size_t>(y) * stride)[x] = pixel;
    }
  }
  cairo_surface_mark_dirty(surface.get());
  cairo_save(cairo);
  cairo_translate(cairo, laid.x, laid.y);
  cairo_scale(cairo, laid.width / picture.width, laid.height / picture.height);
  cairo_set_source_surface(cairo, surface.get(), 0, 0);
  cairo_paint(cairo);
  cairo_restore(cairo);
}

// Says to readers of the file what each text is, where the output has a word for it: paragraphs, the title,
// and tables of rows of cells.
class Tags {
 public:
  explicit Tags(cairo_t* cairo) : cairo_(cairo) {}
  Tags(const Tags&) = delete;
  Tags& operator=(const Tags&) = delete;
  ~Tags() { Enter(0, 0); }

  void Begin(const LaidText& text) {
    Enter(text.table, text.row);
    cairo_tag_begin(cairo_, NameOfRole(text.role), nullptr);
  }
  void End(const LaidText& text) { cairo_tag_end(cairo_, NameOfRole(text.role)); }

 private:
  static const char* NameOfRole(TextRole role) {
    constexpr const char* kNames[] = {"P", "H1", "TH", "TD"};
    return kNames[static_cast<std::size_t>(role)];
  }
  void Enter(int table, int row) {
    if (row != row_ && row_ != 0) cairo_tag_end(cairo_, "TR");
    if (table != table_ && table_ != 0) cairo_tag_end(cairo_, "Table");
    if (table != table_ && table != 0) cairo_tag_begin(cairo_, "Table", nullptr);
    if (row != row_ && row != 0) cairo_tag_begin(cairo_, "TR", nullptr);
    table_ = table;
    row_ = row;
  }

  cairo_t* cairo_;
  int table_ = 0;
  int row_ = 0;
};

}  // namespace

void DrawSheet(cairo_t* cairo, const LaidSheet& sheet, TextPainter& painter) {
  for (const LaidRule& rule : sheet.rules) {
    cairo_set_source_rgb(cairo, rule.gray, rule.gray, rule.gray);
    cairo_rectangle(cairo, rule.x, rule.y, rule.width, rule.height);
    cairo_fill(cairo);
  }
  cairo_set_source_rgb(cairo, 0, 0, 0);
  {
    Tags tags(cairo);
    for (const LaidText& text : sheet.texts) {
      tags.Begin(text);
      painter.Draw(cairo, text);
      tags.End(text);
    }
  }
  for (const LaidCode& code : sheet.codes) {
    for (const CodePicture::Bar& bar : code.code->dark) {
      cairo_rectangle(cairo, code.x + bar.x * code.module, code.y + bar.y * code.module,
                      bar.width * code.module, bar.height * code.module);
    }
    cairo_fill(cairo);
  }
  for (const LaidPicture& picture : sheet.pictures) DrawPicture(cairo, picture);
}

}  // namespace mox
