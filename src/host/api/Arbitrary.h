#pragma once

#include "host/api/Types.h"

// The calls by which the host makes, copies, stores and compares values of an arbitrary-data row.

enum : A_long {
    PF_Arbitrary_NEW_FUNC = 0,
    PF_Arbitrary_DISPOSE_FUNC = 1,
    PF_Arbitrary_COPY_FUNC = 2,
    PF_Arbitrary_FLAT_SIZE_FUNC = 3,
    PF_Arbitrary_FLATTEN_FUNC = 4,
    PF_Arbitrary_UNFLATTEN_FUNC = 5,
    PF_Arbitrary_INTERP_FUNC = 6,
    PF_Arbitrary_COMPARE_FUNC = 7,
    PF_Arbitrary_PRINT_SIZE_FUNC = 8,
    PF_Arbitrary_PRINT_FUNC = 9,
    PF_Arbitrary_SCAN_FUNC = 10,
};
using PF_ArbCompareResult = A_long;
enum : PF_ArbCompareResult {
    PF_ArbCompare_EQUAL = 0,
    PF_ArbCompare_LESS = 1,
    PF_ArbCompare_MORE = 2,
    PF_ArbCompare_NOT_EQUAL = 3,
};

struct PF_ArbParamsExtra {
    A_long which_function;
    A_short id;
    A_short padding;
    union {
        struct {
            void* refconPV;
            PF_ArbitraryH* arbPH;
        } new_func_params;
        struct {
            void* refconPV;
            PF_ArbitraryH arbH;
        } dispose_func_params;
        struct {
            void* refconPV;
            PF_ArbitraryH src_arbH;
            PF_ArbitraryH* dst_arbPH;
        } copy_func_params;
        struct {
            void* refconPV;
            PF_ArbitraryH arbH;
            A_u_long* flat_data_sizePLu;
        } flat_size_func_params;
        struct {
            void* refconPV;
            PF_ArbitraryH arbH;
            A_u_long buf_sizeLu;
            void* flat_dataPV;
        } flatten_func_params;
        struct {
            void* refconPV;
            A_u_long buf_sizeLu;
            const void* flat_dataPV;
            PF_ArbitraryH* arbPH;
        } unflatten_func_params;
        struct {
            void* refconPV;
            PF_ArbitraryH left_arbH, right_arbH;
            PF_FpLong tF;
            PF_ArbitraryH* interpPH;
        } interp_func_params;
        struct {
            void* refconPV;
            PF_ArbitraryH a_arbH, b_arbH;
            PF_ArbCompareResult* compareP;
        } compare_func_params;
        struct {
            void* refconPV;
            PF_ArbitraryH arbH;
            A_u_long* print_sizePLu;
        } print_size_func_params;
        struct {
            void* refconPV;
            A_long print_flags;
            PF_ArbitraryH arbH;
            A_u_long print_sizeLu;
            A_char* print_bufferPC;
        } print_func_params;
        struct {
            void* refconPV;
            const A_char* bufPC;
            A_u_long bytes_to_scanLu;
            PF_ArbitraryH* arbPH;
        } scan_func_params;
    } u;
};
static_assert(sizeof(PF_ArbParamsExtra) == 48 && offsetof(PF_ArbParamsExtra, id) == 4 &&
              offsetof(PF_ArbParamsExtra, u) == 8);
