#include "Vorlandi/VorlandiTypes.hpp"

#include "CoreServices/NumberFields.hpp"

namespace vorlandi {

std::string fieldstostr(const Vorlanrecord& record) {
    return integerField(record.satNum, 9, 9) + integerField(record.coordSys, 2) +
           fixedField(record.epoch, 16, 9);
}

}  // namespace vorlandi
