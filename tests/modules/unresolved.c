/* A plug-in that cannot be opened, however lazily: it needs data that nobody has. */

extern int zorcomn_test_missing_data;

int *missingData(void);
int *missingData(void) {
    return &zorcomn_test_missing_data;
}
