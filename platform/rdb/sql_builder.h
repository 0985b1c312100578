#ifndef PLATFORM_RDB_SQL_BUILDER_H
#define PLATFORM_RDB_SQL_BUILDER_H

#include <string>
#include <vector>

#include "abs_rdb_predicates.h"
#include "value_object.h"
#include "values_bucket.h"

namespace OHOS::NativeRdb {

// Writes the statements of the store's structured operations. Table and column names are checked
// to be identifiers (letters, digits, underscore) and double-quoted, so a name can neither inject
// SQL nor collide with a keyword; values only ever appear as "?" placeholders. Each Build* returns
// E_OK or the code the operation must fail with.
class SqlBuilder {
public:
    static bool IsIdentifier(const std::string& name);
    // The name in double quotes; only for names that passed IsIdentifier.
    static std::string Quote(const std::string& name);

    // conflictClause is "" or an "OR ..." clause such as "OR REPLACE".
    static int BuildInsert(
        const std::string& table, const ValuesBucket& values, const char* conflictClause, std::string& sql);
    // The bound arguments are the new values followed by the predicates' arguments.
    static int BuildUpdate(const ValuesBucket& values, const AbsRdbPredicates& predicates, std::string& sql,
        std::vector<ValueObject>& bindArgs);
    static int BuildDelete(const AbsRdbPredicates& predicates, std::string& sql);
    // No columns selects every column.
    static int BuildQuery(
        const AbsRdbPredicates& predicates, const std::vector<std::string>& columns, std::string& sql);
    static int BuildCount(const AbsRdbPredicates& predicates, std::string& sql);

private:
    static int CheckPredicates(const AbsRdbPredicates& predicates, bool windowAllowed);
    static void AppendWhere(const AbsRdbPredicates& predicates, std::string& sql);
};

}  // namespace OHOS::NativeRdb

#endif  // PLATFORM_RDB_SQL_BUILDER_H
