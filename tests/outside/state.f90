program state_of_a_file
    use vorlandi
    implicit none
    character(200) :: file
    integer(c_int64_t) :: keys(1), count
    integer(c_int32_t) :: status
    real(c_double) :: state(6)

    call get_command_argument(1, file)
    call vorlan_load_keys(file, keys, count, status)
    call vorlan_state(keys(1), vorlan_time("2026-01-31T01:00:30"), state, status)
    print "(f0.6, 2(1x, f0.6))", state(1:3)
end program
