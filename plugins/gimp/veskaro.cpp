// A menu entry of GIMP, and a procedure for scripts, for the GEGL operation veskaro:denoise: GIMP 2.10 gives neither to
// operations that are not its own.
#include <gegl.h>
#include <libgimp/gimp.h>
#include <libgimp/gimpui.h>

namespace {

constexpr char kProcedure[] = "plug-in-veskaro-denoise";
constexpr char kOperation[] = "veskaro:denoise";

struct Choice {
  gint preset;
  gdouble strength, luminance, colour;
};

Choice choice = {0, 1.0, 1.0, 1.0};

void query() {
  static const GimpParamDef arguments[] = {
      {GIMP_PDB_INT32, const_cast<gchar*>("run-mode"), const_cast<gchar*>("The run mode")},
      {GIMP_PDB_IMAGE, const_cast<gchar*>("image"), const_cast<gchar*>("Input image")},
      {GIMP_PDB_DRAWABLE, const_cast<gchar*>("drawable"), const_cast<gchar*>("What is filtered, in place")},
      {GIMP_PDB_INT32, const_cast<gchar*>("preset"), const_cast<gchar*>("0 fast, 1 best, 2 classic")},
      {GIMP_PDB_FLOAT, const_cast<gchar*>("strength"), const_cast<gchar*>("0.5 to 1.5")},
      {GIMP_PDB_FLOAT, const_cast<gchar*>("luminance"), const_cast<gchar*>("Share that is filtered, 0 to 1")},
      {GIMP_PDB_FLOAT, const_cast<gchar*>("colour"), const_cast<gchar*>("Share that is filtered, 0 to 1")}};
  gimp_install_procedure(kProcedure, "Measure the noise of a drawable and take it out",
                         "Runs the GEGL operation veskaro:denoise on the selection. The noise is that of the whole "
                         "drawable.",
                         "VeskaroNRLib developers", "VeskaroNRLib developers", "2026", "Veskaro Noise Reduction...",
                         "RGB*, GRAY*", GIMP_PLUGIN, G_N_ELEMENTS(arguments), 0, arguments, nullptr);
  gimp_plugin_menu_register(kProcedure, "<Image>/Filters/Enhance");
}

GtkObject* addScale(GtkWidget* table, int row, const char* label, gdouble least, gdouble most, gdouble* value) {
  GtkObject* scale = gimp_scale_entry_new(GTK_TABLE(table), 0, row, label, 200, 5, *value, least, most, 0.01, 0.1, 2,
                                          TRUE, 0, 0, nullptr, nullptr);
  g_signal_connect(scale, "value-changed", G_CALLBACK(gimp_double_adjustment_update), value);
  return scale;
}

// False when the user thinks better of it.
bool ask() {
  gimp_ui_init("veskaro-denoise", FALSE);
  GtkWidget* dialog =
      gimp_dialog_new("Veskaro Noise Reduction", "veskaro-denoise", nullptr, GtkDialogFlags(0), gimp_standard_help_func,
                      kProcedure, "_Cancel", GTK_RESPONSE_CANCEL, "_OK", GTK_RESPONSE_OK, nullptr);
  GtkWidget* table = gtk_table_new(4, 3, FALSE);
  gtk_table_set_col_spacings(GTK_TABLE(table), 6);
  gtk_table_set_row_spacings(GTK_TABLE(table), 6);
  gtk_container_set_border_width(GTK_CONTAINER(table), 12);
  GtkWidget* presets = gimp_int_combo_box_new("Fast", 0, "Best", 1, "Classic", 2, nullptr);
  gimp_int_combo_box_connect(GIMP_INT_COMBO_BOX(presets), choice.preset, G_CALLBACK(gimp_int_combo_box_get_active),
                             &choice.preset);
  gimp_table_attach_aligned(GTK_TABLE(table), 0, 0, "_Preset:", 0.0, 0.5, presets, 2, FALSE);
  addScale(table, 1, "_Strength:", 0.5, 1.5, &choice.strength);
  addScale(table, 2, "_Luminance:", 0.0, 1.0, &choice.luminance);
  addScale(table, 3, "_Colour:", 0.0, 1.0, &choice.colour);
  gtk_box_pack_start(GTK_BOX(gtk_dialog_get_content_area(GTK_DIALOG(dialog))), table, TRUE, TRUE, 0);
  gtk_dialog_set_default_response(GTK_DIALOG(dialog), GTK_RESPONSE_OK);
  gtk_widget_show_all(dialog);
  const bool isGo = gimp_dialog_run(GIMP_DIALOG(dialog)) == GTK_RESPONSE_OK;
  gimp_int_combo_box_get_active(GIMP_INT_COMBO_BOX(presets), &choice.preset);
  gtk_widget_destroy(dialog);
  return isGo;
}

// Noise is measured over the whole drawable; pixels are made where something is selected.
void filter(gint32 drawable, const GeglRectangle& selected) {
  GeglBuffer* input = gimp_drawable_get_buffer(drawable);
  GeglBuffer* output = gimp_drawable_get_shadow_buffer(drawable);
  GeglNode* graph = gegl_node_new();
  GeglNode* source = gegl_node_new_child(graph, "operation", "gegl:buffer-source", "buffer", input, nullptr);
  GeglNode* denoise =
      gegl_node_new_child(graph, "operation", kOperation, "preset", choice.preset, "strength", choice.strength,
                          "luminance", choice.luminance, "colour", choice.colour, nullptr);
  GeglNode* sink = gegl_node_new_child(graph, "operation", "gegl:write-buffer", "buffer", output, nullptr);
  gegl_node_link_many(source, denoise, sink, nullptr);
  GeglProcessor* processor = gegl_node_new_processor(sink, &selected);
  gimp_progress_init("Veskaro Noise Reduction");
  for (gdouble done = 0.0; gegl_processor_work(processor, &done);) gimp_progress_update(done);
  g_object_unref(processor);
  g_object_unref(graph);
  g_object_unref(output);
  g_object_unref(input);
  gimp_drawable_merge_shadow(drawable, TRUE);
  gimp_drawable_update(drawable, selected.x, selected.y, selected.width, selected.height);
  gimp_displays_flush();
}

bool readArguments(gint count, const GimpParam* parameters) {
  const auto isWithin = [](gdouble value, gdouble least, gdouble most) { return value >= least && value <= most; };
  if (count != 7) return false;
  choice = {parameters[3].data.d_int32, parameters[4].data.d_float, parameters[5].data.d_float,
            parameters[6].data.d_float};
  return choice.preset >= 0 && choice.preset <= 2 && isWithin(choice.strength, 0.5, 1.5) &&
         isWithin(choice.luminance, 0.0, 1.0) && isWithin(choice.colour, 0.0, 1.0);
}

GimpPDBStatusType execute(gint count, const GimpParam* parameters) {
  const auto mode = static_cast<GimpRunMode>(parameters[0].data.d_int32);
  if (mode == GIMP_RUN_NONINTERACTIVE && !readArguments(count, parameters)) return GIMP_PDB_CALLING_ERROR;
  if (mode != GIMP_RUN_NONINTERACTIVE) gimp_get_data(kProcedure, &choice);
  if (mode == GIMP_RUN_INTERACTIVE && !ask()) return GIMP_PDB_CANCEL;
  gegl_init(nullptr, nullptr);
  if (!gegl_has_operation(kOperation)) {
    g_message("GEGL does not find the operation %s", kOperation);
    return GIMP_PDB_EXECUTION_ERROR;
  }
  GeglRectangle selected;
  const gint32 drawable = parameters[2].data.d_drawable;
  if (gimp_drawable_mask_intersect(drawable, &selected.x, &selected.y, &selected.width, &selected.height)) {
    filter(drawable, selected);
  }
  if (mode == GIMP_RUN_INTERACTIVE) gimp_set_data(kProcedure, &choice, sizeof choice);
  return GIMP_PDB_SUCCESS;
}

void run(const gchar*, gint count, const GimpParam* parameters, gint* resultCount, GimpParam** results) {
  static GimpParam status;
  status.type = GIMP_PDB_STATUS;
  status.data.d_status = count < 3 ? GIMP_PDB_CALLING_ERROR : execute(count, parameters);
  *resultCount = 1;
  *results = &status;
}

}  // namespace

const GimpPlugInInfo PLUG_IN_INFO = {nullptr, nullptr, query, run};

MAIN()
