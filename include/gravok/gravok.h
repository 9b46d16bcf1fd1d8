/// @file
/// Brings in the whole public interface of gravok-data.
#ifndef GRAVOK_GRAVOK_H
#define GRAVOK_GRAVOK_H

#include <gravok/data_source.h>
#include <gravok/data_store.h>
#include <gravok/element_types.h>
#include <gravok/export.h>
#include <gravok/hand_over.h>
#include <gravok/log.h>
#include <gravok/mesh_check.h>
#include <gravok/mesh_tools.h>
#include <gravok/offset_data_source.h>
#include <gravok/plugin.h>
#include <gravok/poly_file.h>
#include <gravok/problem.h>
#include <gravok/providers.h>
#include <gravok/records.h>
#include <gravok/replace_file.h>
#include <gravok/store_losses.h>
#include <gravok/surfaces.h>
#include <gravok/text.h>
#include <gravok/triangle_files.h>
#include <gravok/units.h>
#include <gravok/volume.h>

#endif  // GRAVOK_GRAVOK_H
