#include "platform/rdb/sql_builder.h"

#include "rdb_errno.h"

namespace OHOS::NativeRdb {

bool SqlBuilder::IsIdentifier(const std::string& name)
{
    if (name.empty()) {
        return false;
    }
    for (char c : name) {
        const bool ok = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
        if (!ok) {
            return false;
        }
    }
    return true;
}

std::string SqlBuilder::Quote(const std::string& name)
{
    std::string quoted;
    quoted.reserve(name.size() + 2);
    quoted.push_back('"');
    quoted.append(name);
    quoted.push_back('"');
    return quoted;
}

int SqlBuilder::BuildInsert(
    const std::string& table, const ValuesBucket& values, const char* conflictClause, std::string& sql)
{
    if (table.empty()) {
        return E_EMPTY_TABLE_NAME;
    }
    if (values.IsEmpty()) {
        return E_EMPTY_VALUES_BUCKET;
    }
    if (!IsIdentifier(table)) {
        return E_INVALID_ARGS;
    }
    std::string columns;
    std::string placeholders;
    for (const auto& [column, value] : values.GetAll()) {
        if (!IsIdentifier(column)) {
            return E_INVALID_ARGS;
        }
        if (!columns.empty()) {
            columns.push_back(',');
            placeholders.push_back(',');
        }
        columns.append(Quote(column));
        placeholders.push_back('?');
    }
    sql = "INSERT ";
    if (conflictClause != nullptr && conflictClause[0] != '\0') {
        sql.append(conflictClause).push_back(' ');
    }
    sql.append("INTO ").append(Quote(table)).append(" (").append(columns).append(") VALUES (");
    sql.append(placeholders).push_back(')');
    return E_OK;
}

int SqlBuilder::BuildUpdate(const ValuesBucket& values, const AbsRdbPredicates& predicates, std::string& sql,
    std::vector<ValueObject>& bindArgs)
{
    int ret = CheckPredicates(predicates, false);
    if (ret != E_OK) {
        return ret;
    }
    if (values.IsEmpty()) {
        return E_EMPTY_VALUES_BUCKET;
    }
    sql = "UPDATE " + Quote(predicates.GetTableName()) + " SET ";
    bindArgs.clear();
    bindArgs.reserve(values.GetAll().size() + predicates.GetBindArgs().size());
    bool first = true;
    for (const auto& [column, value] : values.GetAll()) {
        if (!IsIdentifier(column)) {
            return E_INVALID_ARGS;
        }
        if (!first) {
            sql.push_back(',');
        }
        first = false;
        sql.append(Quote(column)).append("=?");
        bindArgs.push_back(value);
    }
    AppendWhere(predicates, sql);
    bindArgs.insert(bindArgs.end(), predicates.GetBindArgs().begin(), predicates.GetBindArgs().end());
    return E_OK;
}

int SqlBuilder::BuildDelete(const AbsRdbPredicates& predicates, std::string& sql)
{
    int ret = CheckPredicates(predicates, false);
    if (ret != E_OK) {
        return ret;
    }
    sql = "DELETE FROM " + Quote(predicates.GetTableName());
    AppendWhere(predicates, sql);
    return E_OK;
}

int SqlBuilder::BuildQuery(
    const AbsRdbPredicates& predicates, const std::vector<std::string>& columns, std::string& sql)
{
    int ret = CheckPredicates(predicates, true);
    if (ret != E_OK) {
        return ret;
    }
    sql = "SELECT ";
    if (columns.empty()) {
        sql.push_back('*');
    }
    for (size_t i = 0; i < columns.size(); ++i) {
        if (!IsIdentifier(columns[i])) {
            return E_INVALID_ARGS;
        }
        if (i != 0) {
            sql.push_back(',');
        }
        sql.append(Quote(columns[i]));
    }
    sql.append(" FROM ").append(Quote(predicates.GetTableName()));
    AppendWhere(predicates, sql);
    const std::string order = predicates.GetOrder();
    if (!order.empty()) {
        sql.append(" ORDER BY ").append(order);
    }
    if (predicates.GetLimit() >= 0 || predicates.GetOffset() > 0) {
        sql.append(" LIMIT ").append(std::to_string(predicates.GetLimit()));
        if (predicates.GetOffset() > 0) {
            sql.append(" OFFSET ").append(std::to_string(predicates.GetOffset()));
        }
    }
    return E_OK;
}

int SqlBuilder::BuildCount(const AbsRdbPredicates& predicates, std::string& sql)
{
    int ret = CheckPredicates(predicates, false);
    if (ret != E_OK) {
        return ret;
    }
    sql = "SELECT COUNT(*) FROM " + Quote(predicates.GetTableName());
    AppendWhere(predicates, sql);
    return E_OK;
}

int SqlBuilder::CheckPredicates(const AbsRdbPredicates& predicates, bool windowAllowed)
{
    if (predicates.GetTableName().empty()) {
        return E_EMPTY_TABLE_NAME;
    }
    if (!IsIdentifier(predicates.GetTableName()) || !predicates.IsValid()) {
        return E_INVALID_ARGS;
    }
    // A window on a delete or update would act on more rows than the caller meant: refuse it
    // rather than ignore it.
    if (!windowAllowed && predicates.HasOrderOrWindow()) {
        return E_INVALID_ARGS;
    }
    return E_OK;
}

void SqlBuilder::AppendWhere(const AbsRdbPredicates& predicates, std::string& sql)
{
    if (!predicates.GetWhereClause().empty()) {
        sql.append(" WHERE ").append(predicates.GetWhereClause());
    }
}

}  // namespace OHOS::NativeRdb
