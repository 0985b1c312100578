/*
 * The rows an operation of the relational store acts on: a table and a condition built call by
 * call, with its values kept apart as bound arguments (a value never becomes SQL text).
 *
 *     RdbPredicates predicates("gtoken_policy");
 *     predicates.EqualTo("policy_name", name).And().In("bundle_name", bundles);
 *
 * Two conditions in a row are joined by AND unless Or() comes between them. Field names must be
 * identifiers (letters, digits, underscore); a bad name, an operator with nothing on one side, or
 * an unbalanced wrap makes the predicates invalid, and the store then refuses them with
 * E_INVALID_ARGS instead of guessing. Every call returns the predicates for chaining.
 */
#ifndef NATIVE_RDB_ABS_RDB_PREDICATES_H
#define NATIVE_RDB_ABS_RDB_PREDICATES_H

#include <string>
#include <vector>

#include "value_object.h"

namespace OHOS::NativeRdb {

class AbsRdbPredicates {
public:
    explicit AbsRdbPredicates(const std::string& tableName);
    virtual ~AbsRdbPredicates() = default;

    // A null value compares as IS NULL (EqualTo) or IS NOT NULL (NotEqualTo), since "= NULL"
    // would match nothing.
    AbsRdbPredicates& EqualTo(const std::string& field, const ValueObject& value);
    AbsRdbPredicates& NotEqualTo(const std::string& field, const ValueObject& value);
    AbsRdbPredicates& GreaterThan(const std::string& field, const ValueObject& value);
    AbsRdbPredicates& GreaterThanOrEqualTo(const std::string& field, const ValueObject& value);
    AbsRdbPredicates& LessThan(const std::string& field, const ValueObject& value);
    AbsRdbPredicates& LessThanOrEqualTo(const std::string& field, const ValueObject& value);
    AbsRdbPredicates& IsNull(const std::string& field);
    AbsRdbPredicates& IsNotNull(const std::string& field);
    // An empty list matches no row (In) or every row (NotIn).
    AbsRdbPredicates& In(const std::string& field, const std::vector<std::string>& values);
    AbsRdbPredicates& NotIn(const std::string& field, const std::vector<std::string>& values);

    AbsRdbPredicates& And();
    AbsRdbPredicates& Or();
    AbsRdbPredicates& BeginWrap();
    AbsRdbPredicates& EndWrap();

    // Order and window apply to queries only; Delete and Update refuse predicates that carry them.
    AbsRdbPredicates& OrderByAsc(const std::string& field);
    AbsRdbPredicates& OrderByDesc(const std::string& field);
    // A negative limit means no limit.
    AbsRdbPredicates& Limit(int value);
    AbsRdbPredicates& Offset(int rowOffset);

    // Back to "every row of the table".
    virtual void Clear();

    const std::string& GetTableName() const { return tableName_; }
    // The condition with "?" for each bound argument; empty when every row matches.
    const std::string& GetWhereClause() const { return whereClause_; }
    const std::vector<ValueObject>& GetBindArgs() const { return bindArgs_; }
    // The ORDER BY list without the keywords; empty when unordered.
    std::string GetOrder() const;
    int GetLimit() const { return limit_; }
    int GetOffset() const { return offset_; }
    bool HasOrderOrWindow() const { return !orders_.empty() || limit_ >= 0 || offset_ > 0; }
    // False when a call above was refused or the condition is incomplete.
    bool IsValid() const;

private:
    enum class Last { NOTHING, CONDITION, OPERATOR, OPEN };

    AbsRdbPredicates& Compare(const std::string& field, const char* op, const ValueObject& value);
    AbsRdbPredicates& InList(const std::string& field, const std::vector<std::string>& values, bool negate);
    AbsRdbPredicates& Order(const std::string& field, const char* direction);
    // Appends one condition, joined to a previous one by AND; false marks the predicates invalid.
    bool AppendCondition(const std::string& field, const std::string& text);

    std::string tableName_;
    std::string whereClause_;
    std::vector<ValueObject> bindArgs_;
    std::vector<std::string> orders_;
    int limit_ = -1;
    int offset_ = 0;
    int openWraps_ = 0;
    Last last_ = Last::NOTHING;
    bool valid_ = true;
};

}  // namespace OHOS::NativeRdb

#endif  // NATIVE_RDB_ABS_RDB_PREDICATES_H
