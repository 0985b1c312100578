/*
 * Predicates on one table of the relational store: the form the service builds. All conditions are
 * those of AbsRdbPredicates.
 */
#ifndef NATIVE_RDB_RDB_PREDICATES_H
#define NATIVE_RDB_RDB_PREDICATES_H

#include <string>

#include "abs_rdb_predicates.h"

namespace OHOS::NativeRdb {

class RdbPredicates : public AbsRdbPredicates {
public:
    explicit RdbPredicates(const std::string& tableName) : AbsRdbPredicates(tableName) {}
    ~RdbPredicates() override = default;
};

}  // namespace OHOS::NativeRdb

#endif  // NATIVE_RDB_RDB_PREDICATES_H
