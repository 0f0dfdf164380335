// Entry point of certificateweb.

int main() {
    return 0;
}
