// A plug-in of the image editor for tests alone: its version 2.10 has no procedure of its
// own by which a script may call any operation.
//
//     (crayvell-test-sketch RUN-NONINTERACTIVE image drawable black white)

#include <libgimp/gimp.h>

namespace {

constexpr char procedure[] = "crayvell-test-sketch";

void query()
{
    gchar *const texts[] = {g_strdup("run-mode"), g_strdup("image"), g_strdup("drawable"),
                            g_strdup("black"), g_strdup("white")};
    const GimpParamDef parameters[] = {{GIMP_PDB_INT32, texts[0], texts[0]},
                                       {GIMP_PDB_IMAGE, texts[1], texts[1]},
                                       {GIMP_PDB_DRAWABLE, texts[2], texts[2]},
                                       {GIMP_PDB_INT32, texts[3], texts[3]},
                                       {GIMP_PDB_INT32, texts[4], texts[4]}};
    gimp_install_procedure(procedure, "Sketches a drawable", "For tests", "Crayvell", "Crayvell",
                           "2026", nullptr, "RGB*, GRAY*", GIMP_PLUGIN, G_N_ELEMENTS(parameters), 0,
                           parameters, nullptr);
}

// As the editor's own filters do it: from the drawable through the operation into the
// drawable's shadow, within the selection.
bool sketch(gint32 drawable, int black, int white)
{
    GeglNode *graph = gegl_node_new();
    GeglBuffer *photo = gimp_drawable_get_buffer(drawable);
    GeglBuffer *shadow = gimp_drawable_get_shadow_buffer(drawable);
    GeglNode *source =
        gegl_node_new_child(graph, "operation", "gegl:buffer-source", "buffer", photo, nullptr);
    GeglNode *operation = gegl_node_new_child(graph, "operation", "crayvell:sketch", "black", black,
                                              "white", white, nullptr);
    GeglNode *sink =
        gegl_node_new_child(graph, "operation", "gegl:write-buffer", "buffer", shadow, nullptr);
    gegl_node_link_many(source, operation, sink, nullptr);
    gegl_node_process(sink);
    g_object_unref(graph);
    g_object_unref(shadow); // which hands it over
    g_object_unref(photo);
    return gimp_drawable_merge_shadow(drawable, TRUE)
        && gimp_drawable_update(drawable, 0, 0, gimp_drawable_width(drawable),
                                gimp_drawable_height(drawable));
}

void run(const gchar *, gint count, const GimpParam *values, gint *resultCount, GimpParam **results)
{
    static GimpParam status[1];
    gegl_init(nullptr, nullptr);
    const bool isWell = count == 5 && gegl_has_operation("crayvell:sketch")
        && sketch(values[2].data.d_drawable, values[3].data.d_int32, values[4].data.d_int32);
    status[0].type = GIMP_PDB_STATUS;
    status[0].data.d_status = isWell ? GIMP_PDB_SUCCESS : GIMP_PDB_EXECUTION_ERROR;
    *resultCount = 1;
    *results = status;
}

} // namespace

const GimpPlugInInfo PLUG_IN_INFO = {nullptr, nullptr, query, run};

MAIN()
