#include "abs_rdb_predicates.h"

#include "platform/rdb/sql_builder.h"

namespace OHOS::NativeRdb {

AbsRdbPredicates::AbsRdbPredicates(const std::string& tableName) : tableName_(tableName)
{
}

AbsRdbPredicates& AbsRdbPredicates::EqualTo(const std::string& field, const ValueObject& value)
{
    if (value.GetType() == ValueObject::TYPE_NULL) {
        return IsNull(field);
    }
    return Compare(field, "=", value);
}

AbsRdbPredicates& AbsRdbPredicates::NotEqualTo(const std::string& field, const ValueObject& value)
{
    if (value.GetType() == ValueObject::TYPE_NULL) {
        return IsNotNull(field);
    }
    return Compare(field, "<>", value);
}

AbsRdbPredicates& AbsRdbPredicates::GreaterThan(const std::string& field, const ValueObject& value)
{
    return Compare(field, ">", value);
}

AbsRdbPredicates& AbsRdbPredicates::GreaterThanOrEqualTo(const std::string& field, const ValueObject& value)
{
    return Compare(field, ">=", value);
}

AbsRdbPredicates& AbsRdbPredicates::LessThan(const std::string& field, const ValueObject& value)
{
    return Compare(field, "<", value);
}

AbsRdbPredicates& AbsRdbPredicates::LessThanOrEqualTo(const std::string& field, const ValueObject& value)
{
    return Compare(field, "<=", value);
}

AbsRdbPredicates& AbsRdbPredicates::IsNull(const std::string& field)
{
    AppendCondition(field, SqlBuilder::Quote(field) + " IS NULL");
    return *this;
}

AbsRdbPredicates& AbsRdbPredicates::IsNotNull(const std::string& field)
{
    AppendCondition(field, SqlBuilder::Quote(field) + " IS NOT NULL");
    return *this;
}

AbsRdbPredicates& AbsRdbPredicates::In(const std::string& field, const std::vector<std::string>& values)
{
    return InList(field, values, false);
}

AbsRdbPredicates& AbsRdbPredicates::NotIn(const std::string& field, const std::vector<std::string>& values)
{
    return InList(field, values, true);
}

AbsRdbPredicates& AbsRdbPredicates::And()
{
    if (last_ != Last::CONDITION) {
        valid_ = false;
        return *this;
    }
    whereClause_.append(" AND ");
    last_ = Last::OPERATOR;
    return *this;
}

AbsRdbPredicates& AbsRdbPredicates::Or()
{
    if (last_ != Last::CONDITION) {
        valid_ = false;
        return *this;
    }
    whereClause_.append(" OR ");
    last_ = Last::OPERATOR;
    return *this;
}

AbsRdbPredicates& AbsRdbPredicates::BeginWrap()
{
    if (last_ == Last::CONDITION) {
        whereClause_.append(" AND ");
    }
    whereClause_.push_back('(');
    ++openWraps_;
    last_ = Last::OPEN;
    return *this;
}

AbsRdbPredicates& AbsRdbPredicates::EndWrap()
{
    // Closing nothing, or closing right after an operator or an opening bracket, leaves a condition
    // SQL would reject or read differently than the caller meant.
    if (openWraps_ == 0 || last_ != Last::CONDITION) {
        valid_ = false;
        return *this;
    }
    whereClause_.push_back(')');
    --openWraps_;
    return *this;
}

AbsRdbPredicates& AbsRdbPredicates::OrderByAsc(const std::string& field)
{
    return Order(field, " ASC");
}

AbsRdbPredicates& AbsRdbPredicates::OrderByDesc(const std::string& field)
{
    return Order(field, " DESC");
}

AbsRdbPredicates& AbsRdbPredicates::Limit(int value)
{
    limit_ = value < 0 ? -1 : value;
    return *this;
}

AbsRdbPredicates& AbsRdbPredicates::Offset(int rowOffset)
{
    if (rowOffset < 0) {
        valid_ = false;
        return *this;
    }
    offset_ = rowOffset;
    return *this;
}

void AbsRdbPredicates::Clear()
{
    whereClause_.clear();
    bindArgs_.clear();
    orders_.clear();
    limit_ = -1;
    offset_ = 0;
    openWraps_ = 0;
    last_ = Last::NOTHING;
    valid_ = true;
}

std::string AbsRdbPredicates::GetOrder() const
{
    std::string order;
    for (const auto& item : orders_) {
        if (!order.empty()) {
            order.push_back(',');
        }
        order.append(item);
    }
    return order;
}

bool AbsRdbPredicates::IsValid() const
{
    return valid_ && openWraps_ == 0 && last_ != Last::OPERATOR && last_ != Last::OPEN;
}

AbsRdbPredicates& AbsRdbPredicates::Compare(const std::string& field, const char* op, const ValueObject& value)
{
    if (AppendCondition(field, SqlBuilder::Quote(field) + " " + op + " ?")) {
        bindArgs_.push_back(value);
    }
    return *this;
}

AbsRdbPredicates& AbsRdbPredicates::InList(
    const std::string& field, const std::vector<std::string>& values, bool negate)
{
    if (values.empty()) {
        // "x IN ()" is not SQL; the empty set is simply false (or, negated, true).
        AppendCondition(field, negate ? "1" : "0");
        return *this;
    }
    std::string text = SqlBuilder::Quote(field) + (negate ? " NOT IN (" : " IN (");
    for (size_t i = 0; i < values.size(); ++i) {
        text.append(i == 0 ? "?" : ",?");
    }
    text.push_back(')');
    if (AppendCondition(field, text)) {
        bindArgs_.insert(bindArgs_.end(), values.begin(), values.end());
    }
    return *this;
}

AbsRdbPredicates& AbsRdbPredicates::Order(const std::string& field, const char* direction)
{
    if (!SqlBuilder::IsIdentifier(field)) {
        valid_ = false;
        return *this;
    }
    orders_.push_back(SqlBuilder::Quote(field) + direction);
    return *this;
}

bool AbsRdbPredicates::AppendCondition(const std::string& field, const std::string& text)
{
    if (!SqlBuilder::IsIdentifier(field)) {
        valid_ = false;
        return false;
    }
    if (last_ == Last::CONDITION) {
        whereClause_.append(" AND ");
    }
    whereClause_.append(text);
    last_ = Last::CONDITION;
    return true;
}

}  // namespace OHOS::NativeRdb
