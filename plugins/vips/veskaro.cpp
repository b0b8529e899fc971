// The operation veskaro_denoise of libvips.
#include <gmodule.h>
#include <vips/vips.h>

#include "common/choice.h"
#include "common/memory.h"
#include "vips/grid.h"
#include "vips/layout.h"
#include "vips/measure.h"

// ---- What it works with

namespace plugin {
namespace {

// What the threads that make pixels share and none of them changes.
struct Work {
  Layout layout;
  Plan plan;
  Grid grid;
};

bool complain(int result) {
  if (result != VNR_OK) vips_error("veskaro_denoise", "%s", vnr_result_text(result));
  return result == VNR_OK;
}

// Copies what is no sample that the filters write: alpha and other bands.
void copyPixels(VipsRegion* from, VipsRegion* to, const VipsRect& rect, int x, int y) {
  VipsRect copied = rect;
  vips_region_copy(from, to, &copied, x, y);
}

// A cell: the tile in it, filtered.
bool filterTile(const Work& work, int column, int row, VipsRegion* in, VipsRegion* cells) {
  const GridAxis &gx = work.grid.x, &gy = work.grid.y;
  const vnr_rectangle tile = {gx.start(column), gx.end(column), gy.start(row), gy.end(row)};
  vnr_rectangle read;
  if (!complain(vnr_plan_cover(work.plan.get(), &tile, &read, nullptr))) return false;
  const VipsRect needed = {read.x0, read.y0, read.x1 - read.x0, read.y1 - read.y0};
  if (vips_region_prepare(in, &needed) != 0) return false;
  const VipsRect own = {tile.x0, tile.y0, tile.x1 - tile.x0, tile.y1 - tile.y0};
  const int left = column * gx.cell, top = row * gy.cell;
  copyPixels(in, cells, own, left, top);
  const vnr_picture given = work.layout.picture(in);
  vnr_picture made = work.layout.picture(cells);
  made.x = tile.x0 - (left - cells->valid.left);
  made.y = tile.y0 - (top - cells->valid.top);
  made = vnr_piece(made, tile);
  const vnr_control here = {sizeof(vnr_control), 1, nullptr, nullptr, nullptr, nullptr};
  return complain(vnr_plan_filter(work.plan.get(), &given, &made, &here));
}

// The cache asks for whole cells.
int generateCells(VipsRegion* cells, void* in, void*, void* work, gboolean*) {
  const Work& w = *static_cast<const Work*>(work);
  const VipsRect& r = cells->valid;
  for (int row = r.top / w.grid.y.cell; row * w.grid.y.cell < VIPS_RECT_BOTTOM(&r); ++row) {
    for (int column = r.left / w.grid.x.cell; column * w.grid.x.cell < VIPS_RECT_RIGHT(&r); ++column) {
      if (!filterTile(w, column, row, static_cast<VipsRegion*>(in), cells)) return -1;
    }
  }
  return 0;
}

// Pixels of one tile, from its cell.
bool takeFromCell(const Grid& grid, const VipsRect& wanted, VipsRegion* cells, VipsRegion* out) {
  const VipsRect there = {grid.x.inCells(wanted.left), grid.y.inCells(wanted.top), wanted.width, wanted.height};
  if (vips_region_prepare(cells, &there) != 0) return false;
  copyPixels(cells, out, there, wanted.left, wanted.top);
  return true;
}

int generatePicture(VipsRegion* out, void* cells, void*, void* work, gboolean*) {
  const Grid& grid = static_cast<const Work*>(work)->grid;
  const VipsRect& r = out->valid;
  const int right = VIPS_RECT_RIGHT(&r), bottom = VIPS_RECT_BOTTOM(&r);
  for (int y = r.top, nextY; y < bottom; y = nextY) {
    nextY = VIPS_MIN(bottom, grid.y.end(grid.y.tileOf(y)));
    for (int x = r.left, nextX; x < right; x = nextX) {
      nextX = VIPS_MIN(right, grid.x.end(grid.x.tileOf(x)));
      if (!takeFromCell(grid, {x, y, nextX - x, nextY - y}, static_cast<VipsRegion*>(cells), out)) return -1;
    }
  }
  return 0;
}

}  // namespace
}  // namespace plugin

// ---- The operation's class

using plugin::Work;

namespace {

struct VeskaroDenoise {
  VipsOperation parent;
  VipsImage *in, *out;
  int preset;
  double strength, luminance, colour, white;
  Work* work;
};

struct VeskaroDenoiseClass {
  VipsOperationClass parent;
};

}  // namespace

G_DEFINE_TYPE(VeskaroDenoise, veskaro_denoise, VIPS_TYPE_OPERATION)

namespace {

constexpr int kNoPreset = 3;  // libvips counts an enumeration by its last

GType presetType() {
  static const GEnumValue values[] = {{plugin::kFast, "VESKARO_FAST", "fast"},
                                      {plugin::kBest, "VESKARO_BEST", "best"},
                                      {plugin::kClassic, "VESKARO_CLASSIC", "classic"},
                                      {kNoPreset, "VESKARO_LAST", "last"},
                                      {0, nullptr, nullptr}};
  static const GType type = g_enum_register_static("VeskaroPreset", values);
  return type;
}

// Images that live as long as the operation, which lives as long as its result.
VipsImage** images(VeskaroDenoise* self, int count) {
  return reinterpret_cast<VipsImage**>(vips_object_local_array(VIPS_OBJECT(self), count));
}

// The input as the library takes it; pixels that come only once are kept, since they are needed twice.
VipsImage* prepared(VeskaroDenoise* self, VipsBandFormat* format) {
  VipsImage** t = images(self, 3);
  if (vips_image_decode(self->in, &t[0]) != 0) return nullptr;
  if (!plugin::layoutOf(t[0], self->white, &self->work->layout, format)) return nullptr;
  if (vips_cast(t[0], &t[1], *format, nullptr) != 0) return nullptr;
  if (!vips_image_is_sequential(t[1])) return t[1];
  t[2] = vips_image_copy_memory(t[1]);
  return t[2];
}

// Tiles are cached for two rows of them, so that what is read row by row makes no tile twice.
int cache(VipsImage* image, VipsImage** cached, int width, int height) {
  const int rowOfTiles = (image->Xsize + width - 1) / width;
  return vips_tilecache(image, cached, "tile_width", width, "tile_height", height, "max_tiles", 2 * rowOfTiles + 4,
                        "access", VIPS_ACCESS_RANDOM, "threaded", TRUE, nullptr);
}

bool plan(VeskaroDenoise* self, VipsImage* image) {
  vnr_noise noise = {};
  vnr_settings settings;
  const plugin::Choice choice = {self->preset, self->strength, self->luminance, self->colour};
  if (!plugin::measure(image, self->work->layout, &noise)) return false;
  if (!plugin::complain(plugin::settingsFor(choice, noise, &settings))) return false;
  self->work->plan = plugin::planFor(image->Xsize, image->Ysize, settings);
  if (self->work->plan && plugin::gridOf(self->work->plan.get(), image->Xsize, image->Ysize, &self->work->grid))
    return true;
  return plugin::complain(self->work->plan ? VNR_ERROR_SIZE : VNR_ERROR_MEMORY);
}

// in -> cache -> cells -> cache -> picture
VipsImage* filtered(VeskaroDenoise* self, VipsImage* image) {
  VipsImage** t = images(self, 4);
  const plugin::Grid& grid = self->work->grid;
  if (cache(image, &t[0], grid.x.unit, grid.y.unit) != 0) return nullptr;
  t[1] = vips_image_new();
  if (vips_image_pipelinev(t[1], VIPS_DEMAND_STYLE_SMALLTILE, t[0], nullptr) != 0) return nullptr;
  t[1]->Xsize = grid.x.cell * grid.x.tiles;
  t[1]->Ysize = grid.y.cell * grid.y.tiles;
  if (vips_image_generate(t[1], vips_start_one, plugin::generateCells, vips_stop_one, t[0], self->work) != 0)
    return nullptr;
  if (cache(t[1], &t[2], grid.x.cell, grid.y.cell) != 0) return nullptr;
  t[3] = vips_image_new();
  if (vips_image_pipelinev(t[3], VIPS_DEMAND_STYLE_SMALLTILE, t[2], nullptr) != 0) return nullptr;
  t[3]->Xsize = image->Xsize;
  t[3]->Ysize = image->Ysize;
  if (vips_image_generate(t[3], vips_start_one, plugin::generatePicture, vips_stop_one, t[2], self->work) != 0)
    return nullptr;
  return t[3];
}

// Samples as they came, whole numbers rounded.
VipsImage* restored(VeskaroDenoise* self, VipsImage* image, VipsBandFormat format) {
  VipsImage** t = images(self, 2);
  if (image->BandFmt == format) return image;
  if (vips_rint(image, &t[0], nullptr) != 0) return nullptr;
  VipsImage* whole = vips_band_format_isint(format) ? t[0] : image;
  return vips_cast(whole, &t[1], format, nullptr) == 0 ? t[1] : nullptr;
}

int build(VipsObject* object) {
  auto* self = reinterpret_cast<VeskaroDenoise*>(object);
  if (VIPS_OBJECT_CLASS(veskaro_denoise_parent_class)->build(object) != 0) return -1;
  if (self->preset == kNoPreset) return plugin::complain(VNR_ERROR_SETTINGS) ? 0 : -1;
  self->work = new (std::nothrow) Work();
  if (self->work == nullptr) return plugin::complain(VNR_ERROR_MEMORY) ? 0 : -1;
  VipsBandFormat format;
  VipsImage* image = prepared(self, &format);
  if (image == nullptr || !plan(self, image)) return -1;
  image = filtered(self, image);
  if (image != nullptr) {
    const VipsBandFormat given = self->in->Coding == VIPS_CODING_NONE ? self->in->BandFmt : format;
    image = restored(self, image, given);
  }
  if (image == nullptr) return -1;
  g_object_set(object, "out", vips_image_new(), nullptr);
  return vips_image_write(image, self->out);
}

void finalize(GObject* object) {
  delete reinterpret_cast<VeskaroDenoise*>(object)->work;
  G_OBJECT_CLASS(veskaro_denoise_parent_class)->finalize(object);
}

}  // namespace

static void veskaro_denoise_class_init(VeskaroDenoiseClass* klass) {
  GObjectClass* object = G_OBJECT_CLASS(klass);
  VipsObjectClass* vips = VIPS_OBJECT_CLASS(klass);
  object->set_property = vips_object_set_property;
  object->get_property = vips_object_get_property;
  object->finalize = finalize;
  vips->nickname = "veskaro_denoise";
  vips->description = "measure the noise of an image and take it out";
  vips->build = build;
  const auto optional = VIPS_ARGUMENT_OPTIONAL_INPUT;
  VIPS_ARG_IMAGE(klass, "in", 0, "Input", "Input image", VIPS_ARGUMENT_REQUIRED_INPUT,
                 G_STRUCT_OFFSET(VeskaroDenoise, in))
  VIPS_ARG_IMAGE(klass, "out", 1, "Output", "Output image", VIPS_ARGUMENT_REQUIRED_OUTPUT,
                 G_STRUCT_OFFSET(VeskaroDenoise, out))
  VIPS_ARG_ENUM(klass, "preset", 2, "Preset", "How settings follow from the noise", optional,
                G_STRUCT_OFFSET(VeskaroDenoise, preset), presetType(), plugin::kBest)
  VIPS_ARG_DOUBLE(klass, "strength", 3, "Strength", "Factor on the measured noise", optional,
                  G_STRUCT_OFFSET(VeskaroDenoise, strength), 0.5, 1.5, 1.0)
  VIPS_ARG_DOUBLE(klass, "luminance", 4, "Luminance", "Share of the luminance that is filtered", optional,
                  G_STRUCT_OFFSET(VeskaroDenoise, luminance), 0.0, 1.0, 1.0)
  VIPS_ARG_DOUBLE(klass, "colour", 5, "Colour", "Share of the colour that is filtered", optional,
                  G_STRUCT_OFFSET(VeskaroDenoise, colour), 0.0, 1.0, 1.0)
  VIPS_ARG_DOUBLE(klass, "white", 6, "White", "Largest value of the samples; 0: of the interpretation", optional,
                  G_STRUCT_OFFSET(VeskaroDenoise, white), 0.0, 1e9, 0.0)
}

static void veskaro_denoise_init(VeskaroDenoise* self) {
  self->preset = plugin::kBest;
  self->strength = self->luminance = self->colour = 1.0;
}

extern "C" G_MODULE_EXPORT const gchar* g_module_check_init(GModule*) {
  veskaro_denoise_get_type();
  return nullptr;
}
