#include <zorcomn/lists_locks.h>

#include <stdio.h>

struct Job {
    qeLL2Node links; /* first: a node's address is its links' address */
    int number;
};

int main(void) {
    struct Job jobs[2] = {{{NULL, NULL}, 1}, {{NULL, NULL}, 2}};
    qeSLL2 *list = NULL;
    int taken = 0;
    if (qeSO_ProcessAttach() == ZORCOMN_ALL_ONES || !qeSO_ThreadAttach())
        return 1;
    if (qeSLL2_Create(&list) != ZORCOMN_SUCCESS || !list) /* 0 and no list: its lock could not be had */
        return 1;
    qeSLL2_XInsertTail(list, &jobs[0].links);
    qeSLL2_XInsertTail(list, &jobs[1].links);
    while (!qeSLL2_IsEmpty(list)) {
        struct Job *job = (struct Job *)qeSLL2_XRemoveHead(list);
        printf("job %d\n", job->number);
        taken = taken * 10 + job->number;
    }
    qeSLL2_Release(list);
    qeSO_ThreadDetach();
    qeSO_ProcessDetach();
    return taken == 12 ? 0 : 1;
}
