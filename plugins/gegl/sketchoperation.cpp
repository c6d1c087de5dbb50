// The pencil sketch as the GEGL operation crayvell:sketch. GEGL's header includes this
// file again for each list that it makes of the properties.

#ifdef GEGL_PROPERTIES

// clang-format off
property_int (black, "Black level", 0)
    description ("Greys below this level become black")
    value_range (0, 255)

property_int (white, "White level", 255)
    description ("Greys above this level become white")
    value_range (0, 255)
// clang-format on

#else

#define GEGL_OP_AREA_FILTER
#define GEGL_OP_NAME crayvell_sketch
#define GEGL_OP_C_SOURCE sketchoperation.cpp

#include <gegl-op.h>

#include <exception>

#include "plugins/gegl/sketcharea.h"

namespace {

GeglRectangle boundingBox(GeglOperation *operation)
{
    const GeglRectangle *const input = gegl_operation_source_get_bounding_box(operation, "input");
    return input ? *input : GeglRectangle {0, 0, 0, 0};
}

plugins::Picture pictureOf(GeglOperation *operation)
{
    const Babl *const format = gegl_operation_get_source_format(operation, "input");
    const bool isGrey = format && (babl_get_model_flags(format) & BABL_MODEL_FLAG_GRAY);
    return {boundingBox(operation), isGrey, gegl_operation_get_source_space(operation, "input")};
}

void prepare(GeglOperation *operation)
{
    GeglOperationAreaFilter *const area = GEGL_OPERATION_AREA_FILTER(operation);
    area->left = area->right = area->top = area->bottom = 2;
    const plugins::Picture picture = pictureOf(operation);
    gegl_operation_set_format(operation, "input", plugins::storedFormat(picture));
    gegl_operation_set_format(operation, "output", plugins::sketchFormat(picture));
}

gboolean process(GeglOperation *operation, GeglBuffer *input, GeglBuffer *output,
                 const GeglRectangle *part, gint)
{
    const GeglProperties *const properties = GEGL_PROPERTIES(operation);
    try {
        plugins::sketchPart(input, output, pictureOf(operation), *part,
                            {properties->black, properties->white});
        return TRUE;
    } catch (const std::exception &) {
        return FALSE; // no memory
    }
}

} // namespace

static void gegl_op_class_init(GeglOpClass *klass)
{
    GeglOperationClass *const operation = GEGL_OPERATION_CLASS(klass);
    operation->prepare = prepare;
    operation->get_bounding_box = boundingBox;
    GEGL_OPERATION_FILTER_CLASS(klass)->process = process;
    gegl_operation_class_set_keys(operation, "name", "crayvell:sketch", "title", "Pencil Sketch",
                                  "categories", "artistic", "description",
                                  "Draws the picture as a pencil sketch: a stroke where a "
                                  "brighter pixel is near, white paper elsewhere",
                                  nullptr);
}

#endif
