/* idle_tool: a stand-in for a product tool that does nothing, so that only the agent's share is measured. */
int main(void) {
    return 0;
}
