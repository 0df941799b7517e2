#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

/*
 * What the tables of rows say of a field: `RecordField<&NetworkConfigParam::acIPAddr>`, or with two pointers to
 * members a field of a record in the record. Its type is checked when it is compiled, its place found through a
 * plain function, so that rows of all records are of one type.
 */

template <auto... Members>
struct RecordField;
template <typename R, typename F, F R::*Member>
struct RecordField<Member> {
    using Record = R;
    using Field = F;
    static void *Of(void *pvRecord) { return &(static_cast<R *>(pvRecord)->*Member); }
};
template <typename R, typename Inner, Inner R::*Outer, typename F, F Inner::*Member>
struct RecordField<Outer, Member> {
    using Record = R;
    using Field = F;
    static void *Of(void *pvRecord) { return &(static_cast<R *>(pvRecord)->*Outer.*Member); }
};

template <typename Field>
inline constexpr size_t TEXT_FIELD_SIZE = 0;
template <size_t N>
inline constexpr size_t TEXT_FIELD_SIZE<char[N]> = N;

template <auto... Members>
concept TextField = (TEXT_FIELD_SIZE<typename RecordField<Members...>::Field> > 0);
template <auto... Members>
concept IntField = std::is_same_v<typename RecordField<Members...>::Field, int32_t>;
