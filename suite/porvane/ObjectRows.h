#pragma once

#include "platform/database.h"
#include "suite/porvane/ObjectHeader.h"

#include <optional>
#include <string>

/// The catalogue's rows of an object, as its header has them.
namespace tavrel {

void InsertPatientRow(Connection& catalogue, const ObjectHeader& header);
void InsertStudyRow(Connection& catalogue, const ObjectHeader& header, const std::string& studyPath);
void InsertSeriesRow(Connection& catalogue, const ObjectHeader& header, const std::string& seriesDir);
/// `twin`: its number among objects of its UID, where the catalogue tells them.
void InsertImageRow(Connection& catalogue, const ObjectHeader& header, const std::string& imageFile,
                    std::optional<int> twin);

} // namespace tavrel
