! Each thread reads why its own call failed, after all of them have failed.
program threads
    use omp_lib
    use vorlandi
    implicit none
    integer(c_int32_t) :: status
    integer :: wrong = 0
    character(12) :: name

    !$omp parallel num_threads(4) private(status, name) reduction(+:wrong)
    write (name, "(a, i0)") "nowhere", omp_get_thread_num()
    call vorlan_load(name, status)
    !$omp barrier
    if (vorlan_message() /= trim(name)//": No such file or directory") wrong = wrong + 1
    !$omp end parallel
    if (wrong > 0) error stop 1
end program
