// The operation veskaro:denoise of GEGL.
#include <gegl-plugin.h>

#include "gegl/picture.h"

namespace {

enum Property { kNone, kPreset, kStrength, kLuminance, kColour, kLight, kMeasure, kNoise, kMeasured };

struct VeskaroDenoise {
  GeglOperationFilter parent;
  plugin::Choice choice;
  gboolean asLight, holds;
  char* held;
  plugin::Picture* picture;
};

struct VeskaroDenoiseClass {
  GeglOperationFilterClass parent;
};

VeskaroDenoise* denoise(gpointer object) {
  return static_cast<VeskaroDenoise*>(object);
}

GType enumType(const char* name, const GEnumValue* values) {
  const GType known = g_type_from_name(name);
  return known != 0 ? known : g_enum_register_static(name, values);
}

GType presetType() {
  static const GEnumValue values[] = {{plugin::kFast, "Fast", "fast"},
                                      {plugin::kBest, "Best", "best"},
                                      {plugin::kClassic, "Classic", "classic"},
                                      {0, nullptr, nullptr}};
  return enumType("VeskaroGeglPreset", values);
}

GType measureType() {
  static const GEnumValue values[] = {{0, "Automatic", "automatic"}, {1, "Held", "held"}, {0, nullptr, nullptr}};
  return enumType("VeskaroGeglMeasure", values);
}

}  // namespace

G_DEFINE_DYNAMIC_TYPE(VeskaroDenoise, veskaro_denoise, GEGL_TYPE_OPERATION_FILTER)

namespace {

// ---- Properties

void setProperty(GObject* object, guint id, const GValue* value, GParamSpec* property) {
  VeskaroDenoise& self = *denoise(object);
  switch (id) {
    case kPreset:
      self.choice.preset = g_value_get_enum(value);
      break;
    case kStrength:
      self.choice.strength = g_value_get_double(value);
      break;
    case kLuminance:
      self.choice.luminance = g_value_get_double(value);
      break;
    case kColour:
      self.choice.colour = g_value_get_double(value);
      break;
    case kLight:
      self.asLight = g_value_get_boolean(value);
      break;
    case kMeasure:
      self.holds = g_value_get_enum(value);
      break;
    case kNoise:
      g_free(self.held);
      self.held = g_value_dup_string(value);
      break;
    default:
      G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, property);
  }
}

void getProperty(GObject* object, guint id, GValue* value, GParamSpec* property) {
  const VeskaroDenoise& self = *denoise(object);
  switch (id) {
    case kPreset:
      g_value_set_enum(value, self.choice.preset);
      break;
    case kStrength:
      g_value_set_double(value, self.choice.strength);
      break;
    case kLuminance:
      g_value_set_double(value, self.choice.luminance);
      break;
    case kColour:
      g_value_set_double(value, self.choice.colour);
      break;
    case kLight:
      g_value_set_boolean(value, self.asLight);
      break;
    case kMeasure:
      g_value_set_enum(value, self.holds);
      break;
    case kNoise:
      g_value_set_string(value, self.held);
      break;
    case kMeasured:
      g_value_set_string(value, self.picture->measured().c_str());
      break;
    default:
      G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, property);
  }
}

constexpr auto kBoth = static_cast<GParamFlags>(G_PARAM_READWRITE | G_PARAM_CONSTRUCT | G_PARAM_STATIC_STRINGS);

void installShare(GObjectClass* klass, guint id, const char* name, const char* label, const char* help) {
  g_object_class_install_property(klass, id,
                                  gegl_param_spec_double(name, label, help, 0.0, 1.0, 1.0, 0.0, 1.0, 1.0, kBoth));
}

void installProperties(GObjectClass* klass) {
  g_object_class_install_property(
      klass, kPreset,
      g_param_spec_enum("preset", "Preset", "How the settings follow from the noise: best gains most and takes longest",
                        presetType(), plugin::kFast, kBoth));
  g_object_class_install_property(klass, kStrength,
                                  gegl_param_spec_double("strength", "Strength", "Factor on the measured noise", 0.5,
                                                         1.5, 1.0, 0.5, 1.5, 1.0, kBoth));
  installShare(klass, kLuminance, "luminance", "Luminance", "Share of the luminance that is filtered");
  installShare(klass, kColour, "colour", "Colour", "Share of the colour that is filtered");
  g_object_class_install_property(
      klass, kLight,
      g_param_spec_boolean("linear", "As light", "Filter as light: for high dynamic range", FALSE, kBoth));
  g_object_class_install_property(
      klass, kMeasure,
      g_param_spec_enum("measure", "Measure", "Measure the noise anew when the picture changes, or hold what is known",
                        measureType(), 0, kBoth));
  g_object_class_install_property(
      klass, kNoise,
      g_param_spec_string("noise", "Held noise", "As \"measured\" tells it; empty: as last measured", "", kBoth));
  g_object_class_install_property(
      klass, kMeasured,
      g_param_spec_string("measured", "Measured", "The noise in use", "",
                          static_cast<GParamFlags>(G_PARAM_READABLE | G_PARAM_STATIC_STRINGS)));
}

// ---- What GEGL asks for

// The input's rectangle; empty when it has none, or none that can be a picture.
GeglRectangle extentOf(GeglOperation* operation) {
  const GeglRectangle* box = gegl_operation_source_get_bounding_box(operation, "input");
  const bool isPicture = box != nullptr && box->width > 0 && box->height > 0 && box->width <= VNR_MOST_PIXELS &&
                         box->height <= VNR_MOST_PIXELS && !gegl_rectangle_is_infinite_plane(box);
  return isPicture ? *box : GeglRectangle{0, 0, 0, 0};
}

bool isPicture(GeglOperation* operation) {
  return extentOf(operation).width > 0;
}

void prepare(GeglOperation* operation) {
  VeskaroDenoise& self = *denoise(operation);
  const plugin::Form form =
      plugin::formFor(gegl_operation_get_source_format(operation, "input"), self.asLight != FALSE);
  gegl_operation_set_format(operation, "input", form.format);
  gegl_operation_set_format(operation, "output", form.format);
  if (!isPicture(operation)) return;
  self.picture->want({extentOf(operation), form, self.choice, self.holds != FALSE, self.held ? self.held : ""});
}

GeglRectangle getBoundingBox(GeglOperation* operation) {
  const GeglRectangle* box = gegl_operation_source_get_bounding_box(operation, "input");
  return box != nullptr ? *box : GeglRectangle{0, 0, 0, 0};
}

// Everything hangs on the measurement, and that on everything.
GeglRectangle getInvalidatedByChange(GeglOperation* operation, const gchar*, const GeglRectangle* changed) {
  denoise(operation)->picture->inputChanged();
  return isPicture(operation) ? extentOf(operation) : *changed;
}

GeglRectangle getRequiredForOutput(GeglOperation* operation, const gchar*, const GeglRectangle* pixels) {
  return isPicture(operation) ? denoise(operation)->picture->required(*pixels) : *pixels;
}

// What cannot be filtered comes out as it is.
gboolean process(GeglOperation* operation, GeglBuffer* input, GeglBuffer* output, const GeglRectangle* pixels, gint) {
  if (input == nullptr) return TRUE;
  const bool isMade = isPicture(operation) && denoise(operation)->picture->make(input, output, *pixels);
  if (!isMade) gegl_buffer_copy(input, pixels, GEGL_ABYSS_NONE, output, pixels);
  return TRUE;
}

void finalize(GObject* object) {
  g_free(denoise(object)->held);
  delete denoise(object)->picture;
  G_OBJECT_CLASS(veskaro_denoise_parent_class)->finalize(object);
}

}  // namespace

static void veskaro_denoise_class_init(VeskaroDenoiseClass* klass) {
  GObjectClass* object = G_OBJECT_CLASS(klass);
  GeglOperationClass* operation = GEGL_OPERATION_CLASS(klass);
  object->set_property = setProperty;
  object->get_property = getProperty;
  object->finalize = finalize;
  installProperties(object);
  operation->prepare = prepare;
  operation->get_bounding_box = getBoundingBox;
  operation->get_invalidated_by_change = getInvalidatedByChange;
  operation->get_required_for_output = getRequiredForOutput;
  operation->threaded = FALSE;  // the library has its own threads, and whole tiles are not to be split
  operation->cache_policy = GEGL_CACHE_POLICY_NEVER;  // filtered tiles are kept already
  operation->opencl_support = FALSE;
  GEGL_OPERATION_FILTER_CLASS(klass)->process = process;
  gegl_operation_class_set_keys(operation, "name", "veskaro:denoise", "title", "Veskaro Noise Reduction", "categories",
                                "enhance:noise-reduction", "description",
                                "Measure the noise of the picture and take it out, with edges kept", "gimp:menu-path",
                                "<Image>/Filters/Enhance", "gimp:menu-label", "Veskaro Noise Reduction...", nullptr);
}

static void veskaro_denoise_class_finalize(VeskaroDenoiseClass*) {}

static void veskaro_denoise_init(VeskaroDenoise* self) {
  self->choice = plugin::Choice();
  self->picture = new plugin::Picture();
}

extern "C" {

G_MODULE_EXPORT const GeglModuleInfo* gegl_module_query(GTypeModule*) {
  static const GeglModuleInfo info = {GEGL_MODULE_ABI_VERSION};
  return &info;
}

G_MODULE_EXPORT gboolean gegl_module_register(GTypeModule* module) {
  veskaro_denoise_register_type(module);
  return TRUE;
}
}
